// The readers of text the user's files hold: the encoding ladder, the
// normaliser, CSV summaries, subtitle cues and RTF.

#include <QByteArray>
#include <QString>

#include "content/contenttext.h"
#include "content/delimitedsummary.h"
#include "content/rtftext.h"
#include "content/subtitlecues.h"
#include "content/textfilereader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString text = Nomly::decodeText(bytes, size % 2 == 0).value_or(QString());
    Nomly::normalizedText(text);
    Nomly::delimitedSummary(text, u',', QStringLiteral("csv"));
    Nomly::delimitedSummary(text, u'\t', QStringLiteral("tsv"));
    Nomly::cleanedSubtitleCues(text);
    Nomly::rtfText(bytes);
    Nomly::rtfText(QByteArray("{\\rtf1 ") + bytes);
    return 0;
}
