#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>

class QXmlStreamReader;

namespace Nomly {

// The text of the outermost elements whose local name is wanted ("t" for a
// Word run, "p" for an OpenDocument paragraph), one trimmed, normalised
// chunk per element, in document order. The parse ends early once enough
// characters are collected, and a parse error (an entry cut at its byte
// limit, say) ends it with what was collected by then.
struct XMLTextCollector
{
    QSet<QString> localNames;
    qsizetype maxCharacters = 12'000;
    QStringList chunks;
    int captureDepth = 0;
    QString currentText;
    qsizetype collectedCharacters = 0;

    // Namespace processing first; a part whose prefixes are not declared
    // makes that fail at once, so it is parsed again without.
    static QStringList collect(const QByteArray &xml, const QSet<QString> &localNames);

    void parse(const QByteArray &xml, bool namespaceProcessing);
};

// The element's name after its last colon: parts are matched on local names
// whatever prefix the writing application chose.
QString localNameOf(const QXmlStreamReader &reader);

} // namespace Nomly
