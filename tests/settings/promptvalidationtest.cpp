#include <QTest>

#include "settings/promptvalidation.h"

using namespace Nomly;

using OptionalText = std::optional<QString>;

Q_DECLARE_METATYPE(OptionalText)

namespace {

QString shown(const OptionalText &text)
{
    return text ? u'"' + *text + u'"' : QStringLiteral("<none>");
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
    const OptionalText tooLong(QStringLiteral("Keep this under 5 characters"));
    const OptionalText unsupported(QStringLiteral("Remove unsupported control characters"));

    QTest::newRow("empty-means-default") << QString() << qsizetype(5) << none << none;
    QTest::newRow("blank-means-default") << QStringLiteral(" \r\n\t ") << qsizetype(5) << none << none;
    QTest::newRow("line-ends-unified") << QStringLiteral("  a\r\nb\rc\n ") << qsizetype(5)
                                       << OptionalText(QStringLiteral("a\nb\nc")) << none;
    QTest::newRow("exactly-the-limit") << QStringLiteral("abcde") << qsizetype(5)
                                       << OptionalText(QStringLiteral("abcde")) << none;
    QTest::newRow("one-over-the-limit") << QStringLiteral("abcdef") << qsizetype(5) << none << tooLong;
    QTest::newRow("crlf-counts-once") << QStringLiteral("ab\r\ncd") << qsizetype(5)
                                      << OptionalText(QStringLiteral("ab\ncd")) << none;
    QTest::newRow("trimmed-before-counting")
        << QStringLiteral("   abcde   ") << qsizetype(5) << OptionalText(QStringLiteral("abcde")) << none;
    QTest::newRow("combined-letters-count-once")
        << QStringLiteral("e\u0301e\u0301e\u0301e\u0301e\u0301") << qsizetype(5)
        << OptionalText(QStringLiteral("e\u0301e\u0301e\u0301e\u0301e\u0301")) << none;
    QTest::newRow("emoji-counts-once") << QStringLiteral("a\U0001F44D\U0001F3FDbcd") << qsizetype(5)
                                       << OptionalText(QStringLiteral("a\U0001F44D\U0001F3FDbcd")) << none;
    QTest::newRow("limit-message-carries-number") << QString(1001, u'x') << DefaultPromptMaxChars << none
                                                  << OptionalText(QStringLiteral("Keep this under 1000 characters"));
    QTest::newRow("tab-passes") << QStringLiteral("a\tb") << qsizetype(5) << OptionalText(QStringLiteral("a\tb"))
                                << none;
    QTest::newRow("vertical-tab-refused") << QStringLiteral("a\vb") << qsizetype(5) << none << unsupported;
    QTest::newRow("nul-refused") << QStringLiteral("a") + QChar(u'\0') + QStringLiteral("b") << qsizetype(5) << none
                                 << unsupported;
    QTest::newRow("zero-width-space-refused") << QStringLiteral("a\u200Bb") << qsizetype(5) << none << unsupported;
    QTest::newRow("bidi-override-refused") << QStringLiteral("a\u202Eb") << qsizetype(5) << none << unsupported;
    QTest::newRow("length-checked-first") << QStringLiteral("abc\vdef") << qsizetype(5) << none << tooLong;
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
