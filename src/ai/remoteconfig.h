#pragma once

#include <QString>
#include <QStringList>

namespace Nomly {

// What the operator of the hosted backend can tune without a release: the
// file types Nomly takes, its pace, and the default models and prompts. The
// defaults are complete, so Nomly works without ever reaching the backend.
// Extensions are lower case, without the dot.
struct RemoteConfig
{
    QStringList imageExtensions = builtInImageExtensions();
    QStringList designExtensions = builtInDesignExtensions();
    QStringList documentExtensions = builtInDocumentExtensions();
    QStringList videoExtensions = builtInVideoExtensions();
    QStringList audioExtensions = builtInAudioExtensions();
    int processingDelayMs = 500;
    int maxConcurrentProcessing = 5;
    int batchRenameChunkSize = 10;
    int batchAnalysisLimit = 50;
    QString aiProvider = QStringLiteral("gemini");
    QString aiModel = QStringLiteral("gemini-3-flash-preview");
    QString byokGeminiModel = QStringLiteral("gemini-2.5-flash-lite");
    QString byokGroqModel = QStringLiteral("qwen/qwen3.6-27b");
    QString byokOpenAIModel = QStringLiteral("gpt-5-nano");
    QString byokClaudeModel = QStringLiteral("claude-haiku-4-5-20251001");
    QString renamePromptDefault;
    QString tagPromptDefault;
    int promptMaxChars = 1000;
    bool pdfTextExtractionEnabled = true;

    // Every extension any kind of analysis takes, lower case.
    QStringList supportedExtensions() const;

    static QStringList builtInImageExtensions();
    static QStringList builtInDesignExtensions();
    static QStringList builtInDocumentExtensions();
    static QStringList builtInVideoExtensions();
    static QStringList builtInAudioExtensions();

    bool operator==(const RemoteConfig &) const = default;
};

} // namespace Nomly
