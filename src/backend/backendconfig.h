#pragma once

#include <QMap>
#include <QString>
#include <chrono>

namespace Nomly {

// How nomly-backend runs: who may call it, which provider answers and with
// whose key. Holds keys: never logged.
struct BackendConfig
{
    static constexpr qint64 DefaultMaxRequestBytes = 64 * 1024 * 1024;
    static constexpr std::chrono::milliseconds DefaultProviderTimeout { 100'000 };
    static constexpr std::chrono::milliseconds DefaultConversionTimeout { 25'000 };

    // The Bearer token every call must carry; empty refuses every call.
    QString gatewayToken;
    // "openai", "gemini", "claude", "groq" or "ollama": the provider of a
    // request that names none.
    QString defaultProvider = QStringLiteral("gemini");
    // Provider name to the operator's key, used when a request is not BYOK.
    QMap<QString, QString> operatorKeys;
    // Provider name to a base URL that replaces the public one.
    QMap<QString, QString> baseUrls;
    // Whether a request may name the address of the user's own
    // OpenAI-compatible server. On for the backend inside the user's own
    // program; a shared backend would otherwise call any address a caller
    // names, so there it is the operator's choice.
    bool callsClientServers = false;
    QString ollamaEndpoint = QStringLiteral("http://127.0.0.1:11434");
    QString ollamaModel;
    // Larger bodies are refused with 413.
    qint64 maxRequestBytes = DefaultMaxRequestBytes;
    // How long one provider call may take; shorter than the client's own
    // 120 seconds, so that a slow provider is a per-file failure.
    std::chrono::milliseconds providerTimeout = DefaultProviderTimeout;
    // The LibreOffice program that converts documents for the iWork export:
    // a name looked up in PATH, or a path. When none is found, the export is
    // refused.
    QString documentConverter = QStringLiteral("soffice");
    // How long one conversion may take; shorter than the client's own 30
    // seconds, so that the client hears why.
    std::chrono::milliseconds conversionTimeout = DefaultConversionTimeout;

    // The NOMLY_* variables over the defaults; unset or empty variables keep
    // the default.
    static BackendConfig fromEnvironment();

    bool operator==(const BackendConfig &) const = default;
};

} // namespace Nomly
