#include "app/consenttexts.h"

#include <QCoreApplication>

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
            "a compact content summary. For supported audio, Nomly sends a sidecar transcript when present, or a "
            "bounded audio upload for transcription when needed. It also sends an anonymous device ID, selected "
            "processing options (language, regenerate, BYOK mode), and any custom rename or tagging prompt text you "
            "enter. In BYOK mode, your provider API key is stored locally in your keyring and sent to the Nomly "
            "backend and your selected AI provider only to validate the key and process AI requests. The Nomly "
            "backend does not permanently store your BYOK API key. In Offline AI mode, private local models via "
            "Ollama process supported files on your device. Original full-resolution files and local folder paths "
            "are not sent unless needed for audio transcription, or included by you in custom prompt text."),
    };
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
