// How each provider's own error bodies read to the user: a spent balance
// apart from a rate limit, a wrong key wherever the provider reports it.

#include <QTest>

#include "backend/providerfailure.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Nomly::BackendProvider)

class ProviderFailureTest : public QObject
{
    Q_OBJECT

private slots:

    void text_data()
    {
        QTest::addColumn<BackendProvider>("provider");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");

        const QString openAiRate = u"OpenAI is rate limiting — try again in a moment"_s;
        QTest::newRow("openai-rate-limit-links-billing")
            << BackendProvider::OpenAI << 429
            << QByteArray(R"({"error":{"message":"Rate limit reached for gpt-4o-mini on requests per min (RPM). )"
                          R"(Visit https://platform.openai.com/account/billing to add a payment method.",)"
                          R"("type":"requests","param":null,"code":"rate_limit_exceeded"}})")
            << openAiRate;
        QTest::newRow("openai-spend-limit")
            << BackendProvider::OpenAI << 429
            << QByteArray(R"({"error":{"message":"You exceeded your current quota.","type":"insufficient_quota",)"
                          R"("code":"project_spend_limit_exceeded"}})")
            << u"OpenAI quota is exhausted. Add billing or credits in OpenAI, then retry."_s;
        QTest::newRow("openai-plain-text-429")
            << BackendProvider::OpenAI << 429 << QByteArray("Too Many Requests") << openAiRate;
        QTest::newRow("gemini-wrong-key-is-400")
            << BackendProvider::Gemini << 400
            << QByteArray(R"({"error":{"code":400,"message":"API key not valid. Please pass a valid API key.",)"
                          R"("status":"INVALID_ARGUMENT","details":[{"@type":"type.googleapis.com/google.rpc.)"
                          R"(ErrorInfo","reason":"API_KEY_INVALID","domain":"googleapis.com"}]}})")
            << u"Invalid Google AI API key. Please double-check and try again."_s;
        QTest::newRow("gemini-per-minute-quota-is-a-rate-limit")
            << BackendProvider::Gemini << 429
            << QByteArray(R"({"error":{"code":429,"message":"Quota exceeded for metric: generativelanguage.)"
                          R"(googleapis.com/generate_content_free_tier_requests, limit: 15","status":)"
                          R"("RESOURCE_EXHAUSTED"}})")
            << u"Google AI is rate limiting — try again in a moment"_s;
        QTest::newRow("gemini-quota-exhausted")
            << BackendProvider::Gemini << 429
            << QByteArray(R"({"error":{"code":429,"message":"You exceeded your current quota, please check your )"
                          R"(plan and billing details.","status":"RESOURCE_EXHAUSTED"}})")
            << u"Gemini quota is exhausted. Check Google AI quota or billing, then retry."_s;
        QTest::newRow("gemini-bad-request") << BackendProvider::Gemini << 400
                                            << QByteArray(R"({"error":{"code":400,"message":"Invalid JSON payload",)"
                                                          R"("status":"INVALID_ARGUMENT"}})")
                                            << u"Google AI analysis failed. Check your provider account and retry."_s;
        QTest::newRow("claude-credit-balance")
            << BackendProvider::Claude << 400
            << QByteArray(R"({"type":"error","error":{"type":"invalid_request_error","message":"Your credit )"
                          R"(balance is too low to access the Anthropic API."}})")
            << u"Claude credit balance is too low. Add credits in Anthropic Plans & Billing, then retry."_s;
        QTest::newRow("claude-billing-error")
            << BackendProvider::Claude << 402
            << QByteArray(R"({"type":"error","error":{"type":"billing_error","message":"Payment required"}})")
            << u"Claude credit balance is too low. Add credits in Anthropic Plans & Billing, then retry."_s;
        QTest::newRow("claude-overloaded")
            << BackendProvider::Claude << 529
            << QByteArray(R"({"type":"error","error":{"type":"overloaded_error","message":"Overloaded"}})")
            << u"Anthropic is temporarily unavailable. Wait a moment, then retry."_s;
        QTest::newRow("groq-spend-limit")
            << BackendProvider::Groq << 400
            << QByteArray(R"({"error":{"message":"Organization has reached its spend limit",)"
                          R"("type":"invalid_request_error","code":"blocked_api_access"}})")
            << u"Groq spend limit is reached. Increase the spend limit in Groq Billing, then retry."_s;
        QTest::newRow("groq-wrong-key-401-never-quota")
            << BackendProvider::Groq << 401
            << QByteArray(R"({"error":{"message":"Invalid API Key. Check billing.",)"
                          R"("type":"invalid_request_error","code":"invalid_api_key"}})")
            << u"Invalid Groq API key. Please double-check and try again."_s;
        QTest::newRow("ollama-unavailable") << BackendProvider::Ollama << 502 << QByteArray()
                                            << u"Ollama is temporarily unavailable. Wait a moment, then retry."_s;
        QTest::newRow("gateway-timeout") << BackendProvider::OpenAI << 504 << QByteArray()
                                         << u"OpenAI request timed out. Please retry."_s;
    }

    void text()
    {
        QFETCH(BackendProvider, provider);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);

        const ProviderFailure failure { ProviderFailure::Kind::Status, status, body };
        QCOMPARE(providerFailureText(provider, failure), expected);
    }

    // The log line keeps codes and sizes; what the provider quoted stays out.
    void summaryHoldsNoMessage()
    {
        const QByteArray body
            = R"({"error":{"message":"Incorrect API key provided: sk-abc123","code":"invalid_api_key"}})";
        const QString line
            = providerFailureSummary(BackendProvider::OpenAI, { ProviderFailure::Kind::Status, 401, body });
        QCOMPARE(line, u"provider=openai status=401 body_bytes=%1 code=invalid_api_key"_s.arg(body.size()));
    }
};

QTEST_GUILESS_MAIN(ProviderFailureTest)
#include "providerfailuretest.moc"
