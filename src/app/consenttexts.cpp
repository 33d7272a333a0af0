#include "app/consenttexts.h"

#include <QCoreApplication>
#include <QFile>

namespace Nomly {

QString ConsentTexts::title()
{
    return QCoreApplication::translate("Consent", "How Nomly Uses Your Data");
}

QString ConsentTexts::subtitle()
{
    return QCoreApplication::translate("Consent", "Please review and accept before AI processing starts");
}

QStringList ConsentTexts::sections()
{
    return {
        QCoreApplication::translate("Consent",
                                    "Nomly uses limited file data only to suggest better names: small previews, "
                                    "extracted text or transcripts, settings, and prompts you enter."),
        QCoreApplication::translate("Consent",
                                    "Nomly can read only files and folders you choose or grant access to. Originals "
                                    "and folder paths stay on this computer by default; BYOK keys stay in your "
                                    "keyring."),
        QCoreApplication::translate(
            "Consent",
            "For visual files, Nomly sends a compressed preview (up to 1024×1024) with file type information and "
            "locally extracted visible text when available. For supported documents, Nomly sends extracted text or "
            "a compact content summary. For supported audio, Nomly sends a sidecar transcript or the file's own tags "
            "when present, or a bounded audio upload for transcription when needed. It also sends an anonymous device "
            "ID, selected "
            "processing options (language, regenerate, BYOK mode), and any custom rename or tagging prompt text you "
            "enter. In BYOK mode, your provider API key is stored locally in your keyring and sent to the Nomly "
            "backend and your selected AI provider only to validate the key and process AI requests. The Nomly "
            "backend does not permanently store your BYOK API key. In Offline AI mode, private local models via "
            "Ollama process supported files on your device. Original full-resolution files and local folder paths "
            "are not sent unless needed for audio transcription, or included by you in custom prompt text."),
        QCoreApplication::translate(
            "Consent",
            "Data is sent to Nomly backend infrastructure and then to AI providers used for analysis: Groq and "
            "Google Gemini. In BYOK mode, data is sent to your selected provider: Google Gemini, Groq, OpenAI, or "
            "Anthropic Claude. In Offline AI mode, supported analysis uses private local models via Ollama instead "
            "of cloud AI."),
        QCoreApplication::translate(
            "Consent",
            "Nomly processes submitted file previews, extracted document text, bounded audio transcription uploads, "
            "and custom prompt text in transit for analysis and does not store file content after processing as "
            "part of normal operation. Third-party AI providers may process or retain submitted data according to "
            "their own terms."),
        QCoreApplication::translate("Consent",
                                    "You can withdraw consent at any time in Settings → AI Setup → Data & Privacy, "
                                    "or with 'nomly consent --withdraw'. Without consent, AI processing and "
                                    "monitoring are disabled."),
        QCoreApplication::translate("Consent",
                                    "By selecting \"I Agree and Continue\", you authorize Nomly to send the data "
                                    "described above, including any custom prompt text you provide, for AI "
                                    "processing."),
    };
}

QString ConsentTexts::privacyPolicyLink()
{
    return QCoreApplication::translate("Consent", "Read full Privacy Policy");
}

QString ConsentTexts::privacyPolicy()
{
    QFile policy(QStringLiteral(":/nomly/privacy-policy.md"));
    if (!policy.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(policy.readAll());
}

QString ConsentTexts::agreeAction()
{
    return QCoreApplication::translate("Consent", "I Agree and Continue");
}

QString ConsentTexts::missingTitle()
{
    return QCoreApplication::translate("Consent", "AI Processing Disabled");
}

QString ConsentTexts::missingMessage()
{
    return QCoreApplication::translate("Consent",
                                       "AI processing is disabled until you review and accept data processing.");
}

} // namespace Nomly
