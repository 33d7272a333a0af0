#include "cli/consentcommand.h"

#include <QCommandLineParser>

#include "app/consenttexts.h"
#include "cli/clioutput.h"
#include "cli/cliprofile.h"
#include "cli/commandparsing.h"

namespace Nomly {

QString consentMissingText()
{
    return ConsentTexts::missingMessage()
        + QStringLiteral("\nNothing was sent. Read what is sent with 'nomly consent', then agree with "
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
    const QCommandLineOption agreeOption(QStringLiteral("agree"), ConsentTexts::agreeAction() + u'.');
    const QCommandLineOption withdrawOption(
        QStringLiteral("withdraw"),
        QStringLiteral("Withdraw AI data consent: Nomly stops AI analysis and monitoring until you agree again."));
    const QCommandLineOption policyOption(QStringLiteral("policy"), QStringLiteral("Print the full privacy policy."));
    parser.addOptions({ agreeOption, withdrawOption, policyOption });

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

    if (parser.isSet(policyOption)) {
        CliOutput::line(ConsentTexts::privacyPolicy().trimmed());
        return ExitStatus::Success;
    }

    const auto profile = CliProfile::open();
    if (!profile)
        return ExitStatus::UsageError;
    ConsentState &consent = profile->state().consent();
    if (parser.isSet(agreeOption)) {
        if (const Result<> granted = consent.grantAIDataConsent(); !granted) {
            CliOutput::error(QStringLiteral("your agreement could not be stored, so AI processing stays off: ")
                             + granted.error());
            return ExitStatus::ItemFailed;
        }
        CliOutput::line(QStringLiteral("You agreed to AI data processing."));
        return ExitStatus::Success;
    }
    if (parser.isSet(withdrawOption)) {
        if (const Result<> withdrawn = consent.withdrawAIDataConsent(); !withdrawn) {
            CliOutput::error(QStringLiteral("the withdrawal could not be stored, so AI processing is still allowed: ")
                             + withdrawn.error());
            return ExitStatus::ItemFailed;
        }
        CliOutput::line(QStringLiteral("Nomly will stop AI analysis and monitoring until you agree again."));
        return ExitStatus::Success;
    }

    CliOutput::line(ConsentTexts::title());
    CliOutput::line(ConsentTexts::subtitle() + u'\n');
    for (const QString &section : ConsentTexts::sections())
        CliOutput::line(u"- " + section);
    CliOutput::line(u'\n' + ConsentTexts::privacyPolicyLink() + QStringLiteral(": nomly consent --policy"));
    CliOutput::line(consent.aiDataConsentGranted()
                        ? QStringLiteral("\nYou have agreed. Withdraw with 'nomly consent --withdraw'.")
                        : QStringLiteral("\nYou have not agreed yet. Agree with 'nomly consent --agree'."));
    return ExitStatus::Success;
}

} // namespace Nomly
