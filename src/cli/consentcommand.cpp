#include "cli/consentcommand.h"

#include <QCommandLineParser>

#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"

namespace Nomly {

namespace {

const QString Title = QStringLiteral("How Nomly Uses Your Data");
const QString Subtitle = QStringLiteral("Please review and accept before AI processing starts");

// The sections of the consent screen, in order.
const QStringList Sections {
    QStringLiteral("Nomly uses limited file data only to suggest better names: small previews, extracted text or "
                   "transcripts, settings, and prompts you enter."),
    QStringLiteral("Nomly can read only files and folders you choose or grant access to. Originals and folder paths "
                   "stay on this computer by default; BYOK keys stay in your keyring."),
    QStringLiteral("For visual files, Nomly sends a compressed preview (up to 1024×1024) with file type information "
                   "and locally extracted visible text when available. For supported documents, Nomly sends "
                   "extracted text or a compact content summary. For supported audio, Nomly sends a sidecar "
                   "transcript when present, or a bounded audio upload for transcription when needed. It also sends "
                   "an anonymous device ID, selected processing options (language, regenerate, BYOK mode), and any "
                   "custom rename or tagging prompt text you enter. In BYOK mode, your provider API key is stored "
                   "locally in your keyring and sent to the Nomly backend and your selected AI provider only to "
                   "validate the key and process AI requests. The Nomly backend does not permanently store your BYOK "
                   "API key. In Offline AI mode, private local models via Ollama process supported files on your "
                   "device. Original full-resolution files and local folder paths are not sent unless needed for "
                   "audio transcription, or included by you in custom prompt text."),
};

} // namespace

QString consentMissingText()
{
    return QStringLiteral("AI processing is disabled until you review and accept data processing.\n"
                          "Nothing was sent. Read what is sent with 'nomly consent', then agree with "
                          "'nomly consent --agree'.");
}

ExitStatus runConsentCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Agree to, or withdraw from, AI data processing. Until you agree, 'nomly analyze' and "
                       "'nomly rename' send nothing anywhere. Without options, shows what is sent and whether you "
                       "have agreed."));
    const QCommandLineOption helpOption = parser.addHelpOption();
    const QCommandLineOption agreeOption(QStringLiteral("agree"), QStringLiteral("I Agree and Continue."));
    const QCommandLineOption withdrawOption(
        QStringLiteral("withdraw"),
        QStringLiteral("Withdraw AI data consent: Nomly stops AI analysis and monitoring until you agree again."));
    parser.addOptions({ agreeOption, withdrawOption });

    if (const auto answered = parseOrAnswer(parser, arguments, helpOption))
        return *answered;
    if (parser.isSet(agreeOption) && parser.isSet(withdrawOption)) {
        CliOutput::error(QStringLiteral("--agree and --withdraw exclude each other"));
        return ExitStatus::UsageError;
    }
    if (!parser.positionalArguments().isEmpty()) {
        CliOutput::error(QStringLiteral("no arguments expected; run 'nomly consent --help'"));
        return ExitStatus::UsageError;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    SettingsViewModel &state = profile->state();
    if (parser.isSet(agreeOption)) {
        state.grantAIDataConsent();
        CliOutput::line(QStringLiteral("You agreed to AI data processing."));
        return ExitStatus::Success;
    }
    if (parser.isSet(withdrawOption)) {
        state.withdrawAIDataConsent();
        CliOutput::line(QStringLiteral("Nomly will stop AI analysis and monitoring until you agree again."));
        return ExitStatus::Success;
    }

    CliOutput::line(Title);
    CliOutput::line(Subtitle + u'\n');
    for (const QString &section : Sections)
        CliOutput::line(u"- " + section);
    CliOutput::line(state.aiDataConsentGranted()
                        ? QStringLiteral("\nYou have agreed. Withdraw with 'nomly consent --withdraw'.")
                        : QStringLiteral("\nYou have not agreed yet. Agree with 'nomly consent --agree'."));
    return ExitStatus::Success;
}

} // namespace Nomly
