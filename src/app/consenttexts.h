#pragma once

#include <QString>
#include <QStringList>

namespace Nomly {

// The words of the consent to AI data processing, the same in every face.
struct ConsentTexts
{
    static QString title();
    static QString subtitle();
    // The sections, in order.
    static QStringList sections();
    static QString agreeAction();
    static QString privacyPolicyLink();
    // The whole policy, in Markdown.
    static QString privacyPolicy();
    // The alert of a workflow that stopped for want of consent.
    static QString missingTitle();
    static QString missingMessage();
};

} // namespace Nomly
