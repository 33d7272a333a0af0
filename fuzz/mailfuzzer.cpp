// Mail, markup and subtitle readers: a message with its MIME tree and
// encodings, a mailbox, HTML, SRT/WebVTT and ASS cues over the same text,
// and the bytes as an EPUB archive.

#include <QByteArray>
#include <QString>

#include "content/epubtext.h"
#include "content/htmltext.h"
#include "content/mailtext.h"
#include "content/subtitlecues.h"
#include "content/textfilereader.h"
#include "fuzzfile.h"
#include "naming/mailencoding.h"
#include "naming/textfacts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString text = Nomly::decodeText(bytes).value_or(QString());
    Nomly::mailText(text);
    Nomly::mailboxText(QStringLiteral("From fuzz\n") + text);
    Nomly::htmlText(text);
    Nomly::cleanedSubtitleCues(text);
    Nomly::styledSubtitleText(QStringLiteral("[Events]\n") + text);
    Nomly::MailEncoding::decodedHeaderWords(text);
    Nomly::MailEncoding::decodedInCharset(bytes, u"utf-16");
    Nomly::TextFacts::mailHeaders(text);
    const Nomly::Fuzz::FuzzFile file("input.epub", data, size);
    Nomly::epubText(file.path());
    return 0;
}
