#include "content/rtftext.h"

#include <QFile>
#include <QStringDecoder>
#include <QVarLengthArray>

#include "content/contenttext.h"
#include "content/extractionlimits.h"

namespace Nomly {

namespace {

// Destinations whose content is never body text.
bool isSkippedDestination(const QByteArray &word)
{
    static const QByteArrayList Skipped {
        "fonttbl", "colortbl",  "stylesheet", "info",         "pict",     "object",    "header",
        "footer",  "headerl",   "headerr",    "footerl",      "footerr",  "listtable", "listoverridetable",
        "rsidtbl", "themedata", "datastore",  "latentstyles", "xmlnstbl", "generator", "filetbl"
    };
    return Skipped.contains(word);
}

struct Group
{
    bool skipped = false;
    int unicodeSkip = 1; // characters that stand in for each \u escape
};

} // namespace

std::optional<QString> rtfText(const QByteArray &rtf)
{
    if (!rtf.trimmed().startsWith("{\\rtf"))
        return std::nullopt;
    QStringDecoder windows("windows-1252");
    QString out;
    QVarLengthArray<Group, 32> groups { Group {} };
    int pendingSkip = 0; // fallback characters still to drop after a \u
    // Body text, unless its group is skipped or it is the plain stand-in
    // that follows a \u escape.
    const auto put = [&](const QString &text) {
        if (groups.back().skipped)
            return;
        if (pendingSkip > 0) {
            --pendingSkip;
            return;
        }
        out.append(text);
    };
    const qsizetype size = rtf.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char c = rtf.at(i);
        Group &group = groups.back();
        if (c == '{') {
            groups.append(group);
            continue;
        }
        if (c == '}') {
            if (groups.size() > 1)
                groups.removeLast();
            continue;
        }
        if (c == '\\' && i + 1 < size) {
            const char next = rtf.at(i + 1);
            if (next == '\\' || next == '{' || next == '}') {
                put(QString(QLatin1Char(next)));
                ++i;
                continue;
            }
            if (next == '\'' && i + 3 < size) {
                bool ok = false;
                const char byte = static_cast<char>(rtf.mid(i + 2, 2).toInt(&ok, 16));
                if (ok)
                    put(windows.decode(QByteArrayView(&byte, 1)));
                i += 3;
                continue;
            }
            if (next == '*') {
                group.skipped = true;
                ++i;
                continue;
            }
            // A control word: letters, an optional signed number, and one
            // delimiting blank that belongs to it.
            qsizetype j = i + 1;
            while (j < size && std::isalpha(static_cast<unsigned char>(rtf.at(j))))
                ++j;
            const QByteArray word = rtf.mid(i + 1, j - i - 1);
            const qsizetype numberStart = j;
            if (j < size && (rtf.at(j) == '-' || std::isdigit(static_cast<unsigned char>(rtf.at(j)))))
                ++j;
            while (j < size && std::isdigit(static_cast<unsigned char>(rtf.at(j))))
                ++j;
            const QByteArray number = rtf.mid(numberStart, j - numberStart);
            if (j < size && rtf.at(j) == ' ')
                ++j;
            i = j - 1;
            if (word.isEmpty())
                continue; // a control symbol such as \~ or \-
            if (word == "bin") {
                // Raw bytes follow; they may hold braces of their own.
                i += std::clamp<qsizetype>(number.toLongLong(), 0, size);
            } else if (isSkippedDestination(word)) {
                group.skipped = true;
            } else if (word == "uc") {
                group.unicodeSkip = number.toInt();
            } else if (word == "u" && !group.skipped) {
                int code = number.toInt();
                if (code < 0)
                    code += 65536;
                out.append(QChar(static_cast<char16_t>(code)));
                pendingSkip = group.unicodeSkip;
            } else if (!group.skipped && (word == "par" || word == "line" || word == "sect" || word == "page")) {
                out.append(u'\n');
            } else if (!group.skipped && (word == "tab" || word == "cell")) {
                out.append(u' ');
            } else if (!group.skipped && word == "row") {
                out.append(u'\n');
            }
            continue;
        }
        if (c == '\r' || c == '\n')
            continue;
        put(windows.decode(QByteArrayView(&c, 1)));
    }
    const QString text = normalizedText(out);
    if (!isReadableText(text))
        return std::nullopt;
    return text;
}

std::optional<QString> rtfFileText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return rtfText(file.read(ExtractionLimits::MaxTextFileBytes));
}

} // namespace Nomly
