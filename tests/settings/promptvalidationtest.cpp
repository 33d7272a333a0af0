#include <QTest>

#include "settings/promptvalidation.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using OptionalText = std::optional<QString>;

Q_DECLARE_METATYPE(OptionalText)

namespace {

QString shown(const OptionalText &text)
{
    return text ? u'"' + *text + u'"' : u"<none>"_s;
}

} // namespace

class PromptValidationTest : public QObject
{
    Q_OBJECT

private slots:
    void validate_data();
    void validate();
};

void PromptValidationTest::validate_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<qsizetype>("limit");
    QTest::addColumn<OptionalText>("text");
    QTest::addColumn<OptionalText>("error");

    const OptionalText none;
    const OptionalText tooLong(u"Keep this under 5 characters"_s);
    const OptionalText unsupported(u"Remove unsupported control characters"_s);

    QTest::newRow("blank-means-default") << u" \r\n\t "_s << qsizetype(5) << none << none;
    QTest::newRow("unified-and-trimmed-to-the-limit")
        << u"  a\r\nb\rc\n "_s << qsizetype(5) << OptionalText(u"a\nb\nc"_s) << none;
    QTest::newRow("one-over-the-limit") << u"abcdef"_s << qsizetype(5) << none << tooLong;
    QTest::newRow("emoji-counts-once") << u"a\U0001F44D\U0001F3FDbcd"_s << qsizetype(5)
                                       << OptionalText(u"a\U0001F44D\U0001F3FDbcd"_s) << none;
    QTest::newRow("limit-message-carries-number")
        << QString(1001, u'x') << DefaultPromptMaxChars << none << OptionalText(u"Keep this under 1000 characters"_s);
    QTest::newRow("tab-passes") << u"a\tb"_s << qsizetype(5) << OptionalText(u"a\tb"_s) << none;
    QTest::newRow("vertical-tab-refused") << u"a\vb"_s << qsizetype(5) << none << unsupported;
    QTest::newRow("bidi-override-refused") << u"a\u202Eb"_s << qsizetype(5) << none << unsupported;
    QTest::newRow("length-checked-first") << u"abc\vdef"_s << qsizetype(5) << none << tooLong;
}

void PromptValidationTest::validate()
{
    QFETCH(QString, raw);
    QFETCH(qsizetype, limit);
    QFETCH(OptionalText, text);
    QFETCH(OptionalText, error);

    const PromptValidation result = validatePrompt(raw, limit);
    QCOMPARE(shown(result.text), shown(text));
    QCOMPARE(shown(result.error), shown(error));
}

QTEST_GUILESS_MAIN(PromptValidationTest)

#include "promptvalidationtest.moc"
