#include <QTest>
#include <algorithm>
#include <functional>

#include "naming/namingpattern.h"
#include "naming/namingpatterneditor.h"
#include "naming/namingpatternformatmenu.h"
#include "naming/namingpatternitems.h"
#include "naming/originalnametokens.h"

using namespace Nomly;
using namespace Qt::StringLiterals;

using EditorOperation = std::function<bool(NamingPatternEditor &)>;

Q_DECLARE_METATYPE(Nomly::NamingCaseStyle)
Q_DECLARE_METATYPE(Nomly::NamingPatternSeparator)
Q_DECLARE_METATYPE(QList<Nomly::NamingPatternBlock>)
Q_DECLARE_METATYPE(EditorOperation)

namespace {

using Sep = NamingPatternSeparator;
using Style = NamingCaseStyle;

QString formattingText(const TextFormatting &formatting)
{
    return rawValue(formatting.caseStyle) + u'/' + caseName(formatting.wordSeparator);
}

// Chips and separators in one readable line: "'IMG' <-> {created_date}". A
// separator list of the wrong length shows as a missing or extra entry.
QString describe(const NamingPatternItems &items)
{
    QStringList parts;
    for (qsizetype i = 0; i < std::max(items.items.size(), items.separators.size() + 1); ++i) {
        if (i < items.items.size()) {
            const NamingPatternTokenItem &item = items.items.at(i);
            if (const auto *variable = item.variable()) {
                QString part = variable->token;
                if (variable->originalNameFormatting)
                    part += u'@' + formattingText(*variable->originalNameFormatting);
                parts.append(part);
            } else {
                parts.append(u'\'' + item.literal()->text + u'\'');
            }
        }
        if (i < items.separators.size())
            parts.append(u'<' + rawValue(items.separators.at(i)) + u'>');
    }
    return parts.join(u' ');
}

QString describe(const NamingPatternEditor &editor)
{
    return describe(NamingPatternItems { editor.items(), editor.separators() });
}

NamingPatternBlock variableBlock(const char16_t *token, std::optional<Sep> separator = std::nullopt)
{
    return { NamingPatternBlock::Kind::Variable, QString::fromUtf16(token), separator };
}

NamingPatternBlock literalBlock(const char16_t *text, std::optional<Sep> separator = std::nullopt)
{
    return { NamingPatternBlock::Kind::Literal, QString::fromUtf16(text), separator };
}

} // namespace

class NamingPatternEditorTest : public QObject
{
    Q_OBJECT

private slots:
    void load_data();
    void load();
    void textFromItems_data();
    void textFromItems();
    void operations_data();
    void operations();
};

// Chips come from the stored text, or from its blocks when they spell the text
// out exactly. A pattern without chips shows the fallback chip, writes it back
// as the text and drops the blocks; an empty expectation stands for that.
void NamingPatternEditorTest::load_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<NamingPatternBlock>>("blocks");
    QTest::addColumn<QString>("expected");

    auto row = [](const char *tag, const char16_t *text, const char16_t *expected) {
        QTest::newRow(tag) << QString::fromUtf16(text) << QList<NamingPatternBlock>() << QString::fromUtf16(expected);
    };
    row("prefix-literal-and-separators", u"IMG-{created_date}_{title}", u"'IMG' <-> {created_date} <_> {title}");
    row("no-token-one-literal", u"Holiday photos", u"'Holiday photos'");
    row("pure-leading-gap-dropped", u" _-{title}", u"{title}");
    row("leading-text-without-separator", u"IMG{title}", u"'IMG' <> {title}");
    row("leading-whitespace-cut-as-space", u"My scan  {title}", u"'My scan' < > {title}");
    row("literal-between-without-separators", u"{date}v{time}", u"{date} <> 'v' <> {time}");
    row("only-one-separator-cut-each-side", u"{date}__x__{time}", u"{date} <_> 'x' <_> {time}");
    row("gap-sanitised-away-infers-whole-gap", u"{date}_&-{time}", u"{date} <_> {time}");
    row("trailing-literal", u"{title}_final", u"{title} <_> 'final'");
    row("trailing-separator-dropped", u"{title}_ ", u"{title}");
    row("unclosed-brace-is-text", u"{date}_{title", u"{date} <_> 'title'");
    row("original-spelling", u"{Original_Name}-{original}", u"{original}@title/underscore <-> {original}");
    row("empty-pattern", u"", u"");
    row("sanitised-away", u"/*?", u"");

    // Read from the text the literal would lose its hyphen to the separator.
    QTest::newRow("matching-blocks-used")
        << u"v-{date}"_s << QList { literalBlock(u"v-"), variableBlock(u"{date}") } << u"'v-' <> {date}"_s;
    QTest::newRow("skipped-first-block-drops-its-place")
        << u"//_{date}.{time}"_s
        << QList { literalBlock(u"//"), variableBlock(u"{date}", Sep::Underscore), variableBlock(u"{time}", Sep::Dot) }
        << u"{date} <.> {time}"_s;
    QTest::newRow("mismatched-blocks-ignored")
        << u"{date}_{time}"_s << QList { variableBlock(u"{time}") } << u"{date} <_> {time}"_s;
    QTest::newRow("blocks-yielding-nothing-fall-back-to-text")
        << u"{/}"_s << QList { literalBlock(u"{/}") } << u"{/}"_s;
    QTest::newRow("blocks-and-text-yielding-nothing") << u"/?"_s << QList { literalBlock(u"/?") } << QString();
}

void NamingPatternEditorTest::load()
{
    QFETCH(QString, text);
    QFETCH(QList<NamingPatternBlock>, blocks);
    QFETCH(QString, expected);

    const QString fallback = u"{original}"_s;
    const bool fallsBack = expected.isEmpty();
    NamingPatternEditor editor(Style::Upper, Sep::Underscore, Sep::Dot);
    editor.load(text, blocks, fallback);
    QCOMPARE(describe(editor), fallsBack ? fallback : expected);
    QCOMPARE(editor.text(), fallsBack ? fallback : text);
    QCOMPARE(editor.blocks(), fallsBack ? QList<NamingPatternBlock>() : blocks);
}

// The blocks and text chips are written back as; the title chip is spelled
// for the pattern's case style and word separator.
void NamingPatternEditorTest::textFromItems_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<NamingCaseStyle>("caseStyle");
    QTest::addColumn<NamingPatternSeparator>("wordSeparator");
    QTest::addColumn<QString>("text");

    auto row = [](const char *tag, const char16_t *pattern, Style style, Sep separator, const char16_t *text) {
        QTest::newRow(tag) << QString::fromUtf16(pattern) << style << separator << QString::fromUtf16(text);
    };
    row("title-upper-underscore", u"{date}_{title}", Style::Upper, Sep::Underscore, u"{date}_{TITLE_NAME}");
    row("title-joined", u"{title}", Style::Title, Sep::None, u"{TitleName}");
    row("sentence-joined-spaced", u"{title}", Style::Sentence, Sep::None, u"{Title name}");
    row("camel-after-literal", u"IMG{title}", Style::Camel, Sep::Space, u"IMG{titleName}");
    row("plain-original-untouched", u"{original}", Style::Upper, Sep::None, u"{original}");
    row("original-keeps-own-spelling", u"{original-name}", Style::Pascal, Sep::Space, u"{original-name}");
    row("month-number-written-as-month", u"{month_number}", Style::Title, Sep::Space, u"{month}");
    row("sanitised-text-written", u"{date} (copy)", Style::Title, Sep::Space, u"{date} copy");
}

void NamingPatternEditorTest::textFromItems()
{
    QFETCH(QString, pattern);
    QFETCH(NamingCaseStyle, caseStyle);
    QFETCH(NamingPatternSeparator, wordSeparator);
    QFETCH(QString, text);
    const NamingPatternItems items = Nomly::itemsFromText(pattern);
    const QList<NamingPatternBlock> blocks = blocksFromItems(items, caseStyle, wordSeparator);
    QCOMPARE(joinedText(blocks), text);
    // One block per chip, each with the separator before it.
    QCOMPARE(describe(Nomly::itemsFromBlocks(blocks)), describe(items));
}

// The editor writes title chips as "{Title Name}" and joins added chips with
// "-". An empty result means the change is refused and nothing moves.
void NamingPatternEditorTest::operations_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<EditorOperation>("operation");
    QTest::addColumn<QString>("text");

    auto row = [](const char *tag, const char16_t *pattern, const char16_t *text, EditorOperation operation) {
        QTest::newRow(tag) << QString::fromUtf16(pattern) << operation << QString::fromUtf16(text);
    };
    using E = NamingPatternEditor;

    row("add-variable", u"{date}", u"{date}-{Title Name}", [](E &e) { return e.addVariable(u"{title}"_s); });
    row("add-blank-variable", u"{date}", u"", [](E &e) { return e.addVariable(u" "_s); });
    row("add-text-sanitised", u"{date}", u"{date}-Q3 report", [](E &e) { return e.addCustomText(u" Q3 / report "_s); });

    // Removing the first chip drops the separator after it, any other the one before.
    row("remove-first", u"{date}_{time}.{year}", u"{time}.{year}", [](E &e) { return e.removeItem(0); });
    row("remove-middle", u"{date}_{time}.{year}", u"{date}.{year}", [](E &e) { return e.removeItem(1); });
    row("remove-only-chip", u"{date}", u"", [](E &e) { return e.removeItem(0); });

    row("edit-text", u"IMG-{date}", u"Scan 01-{date}", [](E &e) { return e.editCustomText(0, u"Scan: 01"_s); });
    row("edit-to-nothing", u"IMG-{date}_{year}", u"{date}_{year}", [](E &e) { return e.editCustomText(0, u"//"_s); });
    row("edit-only-chip-to-nothing", u"IMG", u"", [](E &e) { return e.editCustomText(0, QString()); });
    row("edit-variable-as-text", u"{date}", u"", [](E &e) { return e.editCustomText(0, u"x"_s); });

    row("change-format", u"{date}", u"{date_iso}", [](E &e) { return e.changeFormat(0, u"{date_iso}"_s); });
    row("change-format-of-text", u"IMG", u"", [](E &e) { return e.changeFormat(0, u"{date}"_s); });

    // Any chip but an original-name one sets the pattern's title style; those
    // keep the other half of their formatting where a spelling can write it.
    row("style", u"{date}_{title}", u"{date}_{title_name}", [](E &e) { return e.changeCaseStyle(0, Style::Snake); });
    row("original-style", u"{original}_{title}", u"{ORIGINAL NAME}_{Title Name}", [](E &e) {
        return e.changeCaseStyle(0, Style::Upper) && e.namingCaseStyle() == Style::Title;
    });
    row("original-style-keeps-separator", u"{original-name}", u"{Original-Name}", [](E &e) {
        return e.changeCaseStyle(0, Style::Title);
    });
    row("original-style-unspellable", u"{original}", u"", [](E &e) { return e.changeCaseStyle(0, Style::Snake); });
    row("word-separator", u"{title}", u"{Title_Name}", [](E &e) { return e.changeWordSeparator(0, Sep::Underscore); });
    row("original-separator", u"{Original Name}", u"{Original.Name}", [](E &e) {
        return e.changeWordSeparator(0, Sep::Dot);
    });
    row("same-word-separator", u"{title}", u"", [](E &e) { return e.changeWordSeparator(0, Sep::Space); });

    row("change-separator", u"{date}_{year}", u"{date}.{year}", [](E &e) { return e.changeSeparator(0, Sep::Dot); });
    row("change-separator-past-end", u"{date}_{year}", u"", [](E &e) { return e.changeSeparator(1, Sep::Dot); });

    // Separators stay in place while chips move.
    row("drag-forward", u"{date}_{time}.{year}", u"{time}_{year}.{date}", [](E &e) { return e.moveItem(0, 2); });
    row("drag-backward", u"{date}_{time}.{year}", u"{year}_{date}.{time}", [](E &e) { return e.moveItem(2, 0); });
    row("drag-onto-itself", u"{date}_{time}", u"", [](E &e) { return e.moveItem(1, 1); });

    // Each of these would change the pattern were it editable.
    row("read-only-refuses-every-change", u"{date}_IMG_{original}", u"", [](E &e) {
        e.setReadOnly(true);
        return e.addVariable(u"{title}"_s) || e.addCustomText(u"x"_s) || e.removeItem(0) || e.editCustomText(1, u"x"_s)
            || e.changeFormat(0, u"{date_iso}"_s) || e.changeCaseStyle(0, Style::Upper)
            || e.changeCaseStyle(2, Style::Upper) || e.changeWordSeparator(0, Sep::None)
            || e.changeSeparator(0, Sep::Dot) || e.moveItem(0, 1) || e.setNamingCaseStyle(Style::Upper)
            || e.setNamingWordSeparator(Sep::None);
    });
}

void NamingPatternEditorTest::operations()
{
    QFETCH(QString, pattern);
    QFETCH(EditorOperation, operation);
    QFETCH(QString, text);

    NamingPatternEditor editor(Style::Title, Sep::Space, Sep::Hyphen);
    editor.load(pattern, {}, u"{title}"_s);
    const QString before = describe(editor);
    const bool changes = !text.isEmpty();

    QCOMPARE(operation(editor), changes);
    QCOMPARE(editor.text(), changes ? text : pattern);
    if (changes) {
        QCOMPARE(editor.separators().size(), editor.items().size() - 1);
        QCOMPARE(joinedText(editor.blocks()), editor.text());
        QCOMPARE(editor.blocks().size(), editor.items().size());
    } else {
        QCOMPARE(describe(editor), before);
    }
}

QTEST_GUILESS_MAIN(NamingPatternEditorTest)

#include "namingpatterneditortest.moc"
