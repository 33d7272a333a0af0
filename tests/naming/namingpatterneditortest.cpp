#include <QTest>
#include <algorithm>
#include <functional>

#include "naming/namingpatterneditor.h"
#include "naming/namingpatternformatmenu.h"
#include "naming/namingpatternitems.h"
#include "naming/originalnametokens.h"

using namespace Nomly;

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

// Chips and separators in one readable line each: 'IMG' <-> {created_date}.
// A separator list of the wrong length shows as a missing or extra entry.
QStringList describe(const NamingPatternItems &items)
{
    QStringList lines;
    for (qsizetype i = 0; i < std::max(items.items.size(), items.separators.size() + 1); ++i) {
        if (i < items.items.size()) {
            const NamingPatternTokenItem &item = items.items.at(i);
            if (const auto *variable = item.variable()) {
                QString line = variable->token;
                if (variable->originalNameFormatting)
                    line += u'@' + formattingText(*variable->originalNameFormatting);
                lines.append(line);
            } else {
                lines.append(u'\'' + item.literal()->text + u'\'');
            }
        }
        if (i < items.separators.size())
            lines.append(u'<' + rawValue(items.separators.at(i)) + u'>');
    }
    return lines;
}

QStringList describe(const NamingPatternEditor &editor)
{
    return describe(NamingPatternItems { editor.items(), editor.separators() });
}

QStringList chips(std::initializer_list<const char16_t *> lines)
{
    QStringList list;
    for (const char16_t *line : lines)
        list.append(QString::fromUtf16(line));
    return list;
}

NamingPatternBlock variableBlock(const char16_t *token, std::optional<Sep> separator = std::nullopt)
{
    return { NamingPatternBlock::Kind::Variable, QString::fromUtf16(token), separator };
}

NamingPatternBlock literalBlock(const char16_t *text, std::optional<Sep> separator = std::nullopt)
{
    return { NamingPatternBlock::Kind::Literal, QString::fromUtf16(text), separator };
}

NamingPatternEditor loadedEditor(const QString &pattern)
{
    NamingPatternEditor editor(Style::Title, Sep::Space, Sep::Hyphen);
    editor.load(pattern, {}, QStringLiteral("{title}"));
    return editor;
}

} // namespace

class NamingPatternEditorTest : public QObject
{
    Q_OBJECT

private slots:
    void itemsFromText_data();
    void itemsFromText();
    void itemsFromBlocks_data();
    void itemsFromBlocks();
    void load_data();
    void load();
    void titleTokens_data();
    void titleTokens();
    void textFromItems_data();
    void textFromItems();
    void blocksMirrorTheText();
    void originalSpellingsRoundTrip();
    void operations_data();
    void operations();
    void chipsKeepTheirIds();
    void formatMenus_data();
    void formatMenus();
};

void NamingPatternEditorTest::itemsFromText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");

    auto row = [](const char *tag, const char16_t *text, QStringList expected) {
        QTest::newRow(tag) << QString::fromUtf16(text) << expected;
    };
    row("prefix-literal-and-separators",
        u"IMG-{created_date}_{title}",
        chips({ u"'IMG'", u"<->", u"{created_date}", u"<_>", u"{title}" }));
    row("no-token-one-literal", u"Holiday photos", chips({ u"'Holiday photos'" }));
    row("no-token-sanitised-away", u"/*?", {});
    row("empty", u"", {});
    row("pure-leading-gap-dropped", u" _-{title}", chips({ u"{title}" }));
    row("leading-text-without-separator", u"IMG{title}", chips({ u"'IMG'", u"<>", u"{title}" }));
    row("leading-whitespace-cut-as-space", u"My scan  {title}", chips({ u"'My scan'", u"< >", u"{title}" }));
    row("leading-text-sanitised-away", u"/-{title}", chips({ u"{title}" }));
    row("adjacent-tokens", u"{date}{time}", chips({ u"{date}", u"<>", u"{time}" }));
    row("pure-gap-inferred", u"{date} - {title}", chips({ u"{date}", u"<->", u"{title}" }));
    row("literal-between-separators",
        u"{date}_draft-{title}",
        chips({ u"{date}", u"<_>", u"'draft'", u"<->", u"{title}" }));
    row("literal-between-without-separators",
        u"{date}v{title}",
        chips({ u"{date}", u"<>", u"'v'", u"<>", u"{title}" }));
    row("only-one-separator-cut-each-side",
        u"{date}__x__{title}",
        chips({ u"{date}", u"<_>", u"'x'", u"<_>", u"{title}" }));
    row("whitespace-around-literal",
        u"{date}  and  {title}",
        chips({ u"{date}", u"< >", u"'and'", u"< >", u"{title}" }));
    row("gap-sanitised-away-infers-whole-gap", u"{date}_&-{title}", chips({ u"{date}", u"<_>", u"{title}" }));
    row("trailing-literal", u"{title}_final", chips({ u"{title}", u"<_>", u"'final'" }));
    row("trailing-separator-dropped", u"{title}_ ", chips({ u"{title}" }));
    row("trailing-literal-without-separator", u"{title}v2", chips({ u"{title}", u"<>", u"'v2'" }));
    row("trailing-literal-sanitised", u"{title} (copy)", chips({ u"{title}", u"< >", u"'copy'" }));
    row("trailing-text-sanitised-away", u"{title}-&", chips({ u"{title}" }));
    row("unclosed-brace-is-text", u"{date}_{title", chips({ u"{date}", u"<_>", u"'title'" }));
    row("unicode-literal", u"Été 東京_{title}", chips({ u"'Été 東京'", u"<_>", u"{title}" }));
    row("title-spelling-canonical", u"{Title_Name}", chips({ u"{title}" }));
    row("aliases-canonical",
        u"{Vendor Name}_{invoice date long}",
        chips({ u"{vendor}", u"<_>", u"{invoice_date_long}" }));
    row("original-spelling-keeps-formatting",
        u"{Original_Name}-{original}",
        chips({ u"{original}@title/underscore", u"<->", u"{original}" }));
}

void NamingPatternEditorTest::itemsFromText()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);
    QCOMPARE(describe(Nomly::itemsFromText(text)), expected);
}

void NamingPatternEditorTest::itemsFromBlocks_data()
{
    QTest::addColumn<QList<NamingPatternBlock>>("blocks");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("variables-and-literal") << QList { literalBlock(u"IMG"),
                                                      variableBlock(u"{created_date}", Sep::Hyphen),
                                                      variableBlock(u"{Title_Name}", Sep::Underscore) }
                                           << chips({ u"'IMG'", u"<->", u"{created_date}", u"<_>", u"{title}" });
    QTest::newRow("slash-literal-skipped") << QList {
        variableBlock(u"{date}"), literalBlock(u"/", Sep::Underscore), variableBlock(u"{title}", Sep::Hyphen)
    } << chips({ u"{date}", u"<->", u"{title}" });
    QTest::newRow("skipped-first-block-drops-its-place") << QList {
        literalBlock(u"//"), variableBlock(u"{date}", Sep::Underscore), variableBlock(u"{title}", Sep::Hyphen)
    } << chips({ u"{date}", u"<->", u"{title}" });
    QTest::newRow("missing-separator-is-none")
        << QList { variableBlock(u"{date}"), variableBlock(u"{title}") } << chips({ u"{date}", u"<>", u"{title}" });
    QTest::newRow("separator-on-first-block-ignored")
        << QList { variableBlock(u"{date}", Sep::Underscore), variableBlock(u"{title}", Sep::Dot) }
        << chips({ u"{date}", u"<.>", u"{title}" });
    QTest::newRow("literal-sanitised-spaces-kept")
        << QList { literalBlock(u"  My   file?  ") } << chips({ u"'My file'" });
    QTest::newRow("original-formatting") << QList { variableBlock(u"{ORIGINAL-NAME}") }
                                         << chips({ u"{original}@upper/hyphen" });
    QTest::newRow("all-skipped") << QList { literalBlock(u"/") } << QStringList();
    QTest::newRow("no-blocks") << QList<NamingPatternBlock>() << QStringList();
}

void NamingPatternEditorTest::itemsFromBlocks()
{
    QFETCH(QList<NamingPatternBlock>, blocks);
    QFETCH(QStringList, expected);
    QCOMPARE(describe(Nomly::itemsFromBlocks(blocks)), expected);
}

void NamingPatternEditorTest::load_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<NamingPatternBlock>>("blocks");
    QTest::addColumn<QString>("fallback");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QString>("expectedText");
    QTest::addColumn<bool>("keepsBlocks");

    const QString title = QStringLiteral("{title}");
    // Read from the text the literal would lose its hyphen to the separator.
    QTest::newRow("matching-blocks-used")
        << QStringLiteral("v-{date}") << QList { literalBlock(u"v-"), variableBlock(u"{date}") } << title
        << chips({ u"'v-'", u"<>", u"{date}" }) << QStringLiteral("v-{date}") << true;
    QTest::newRow("mismatched-blocks-ignored")
        << QStringLiteral("{date}_{title}") << QList { variableBlock(u"{time}") } << title
        << chips({ u"{date}", u"<_>", u"{title}" }) << QStringLiteral("{date}_{title}") << true;
    QTest::newRow("blocks-yielding-nothing-fall-back-to-text")
        << QStringLiteral("{/}") << QList { literalBlock(u"{/}") } << title << chips({ u"{/}" })
        << QStringLiteral("{/}") << true;
    QTest::newRow("no-blocks-reads-text") << QStringLiteral("IMG-{created_date}_{title}") << QList<NamingPatternBlock>()
                                          << title << chips({ u"'IMG'", u"<->", u"{created_date}", u"<_>", u"{title}" })
                                          << QStringLiteral("IMG-{created_date}_{title}") << true;
    QTest::newRow("tokenless-pattern-one-literal") << QStringLiteral("Scan") << QList<NamingPatternBlock>() << title
                                                   << chips({ u"'Scan'" }) << QStringLiteral("Scan") << true;
    QTest::newRow("empty-pattern-shows-fallback")
        << QString() << QList<NamingPatternBlock>() << title << chips({ u"{title}" }) << title << false;
    QTest::newRow("unusable-pattern-writes-fallback")
        << QStringLiteral("/?") << QList { literalBlock(u"/?") } << QStringLiteral("{original}")
        << chips({ u"{original}" }) << QStringLiteral("{original}") << false;
}

void NamingPatternEditorTest::load()
{
    QFETCH(QString, text);
    QFETCH(QList<NamingPatternBlock>, blocks);
    QFETCH(QString, fallback);
    QFETCH(QStringList, expected);
    QFETCH(QString, expectedText);
    QFETCH(bool, keepsBlocks);

    NamingPatternEditor editor(Style::Upper, Sep::Underscore, Sep::Dot);
    editor.load(text, blocks, fallback);
    QCOMPARE(describe(editor), expected);
    QCOMPARE(editor.text(), expectedText);
    QCOMPARE(editor.blocks(), keepsBlocks ? blocks : QList<NamingPatternBlock>());
}

void NamingPatternEditorTest::titleTokens_data()
{
    QTest::addColumn<NamingCaseStyle>("caseStyle");
    QTest::addColumn<NamingPatternSeparator>("wordSeparator");
    QTest::addColumn<QString>("token");

    auto row = [](const char *tag, Style style, Sep separator, const char16_t *token) {
        QTest::newRow(tag) << style << separator << QString::fromUtf16(token);
    };
    row("title-underscore", Style::Title, Sep::Underscore, u"{Title_Name}");
    row("title-none", Style::Title, Sep::None, u"{TitleName}");
    row("title-space", Style::Title, Sep::Space, u"{Title Name}");
    row("title-hyphen-spaced", Style::Title, Sep::Hyphen, u"{Title Name}");
    row("sentence-underscore", Style::Sentence, Sep::Underscore, u"{Title_name}");
    row("sentence-none-spaced", Style::Sentence, Sep::None, u"{Title name}");
    row("sentence-dot", Style::Sentence, Sep::Dot, u"{Title name}");
    row("lower-underscore", Style::Lower, Sep::Underscore, u"{title_name}");
    row("lower-none", Style::Lower, Sep::None, u"{titlename}");
    row("lower-space-plain", Style::Lower, Sep::Space, u"{title}");
    row("upper-underscore", Style::Upper, Sep::Underscore, u"{TITLE_NAME}");
    row("upper-none", Style::Upper, Sep::None, u"{TITLENAME}");
    row("upper-hyphen", Style::Upper, Sep::Hyphen, u"{TITLE NAME}");
    row("snake-ignores-separator", Style::Snake, Sep::None, u"{title_name}");
    row("constant-ignores-separator", Style::Constant, Sep::Space, u"{TITLE_NAME}");
    row("camel", Style::Camel, Sep::Underscore, u"{titleName}");
    row("pascal", Style::Pascal, Sep::Space, u"{TitleName}");
    row("kebab-plain", Style::Kebab, Sep::Underscore, u"{title}");
    row("dot-plain", Style::Dot, Sep::None, u"{title}");
}

void NamingPatternEditorTest::titleTokens()
{
    QFETCH(NamingCaseStyle, caseStyle);
    QFETCH(NamingPatternSeparator, wordSeparator);
    QFETCH(QString, token);
    QCOMPARE(titleToken(caseStyle, wordSeparator), token);
}

void NamingPatternEditorTest::textFromItems_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<NamingCaseStyle>("caseStyle");
    QTest::addColumn<NamingPatternSeparator>("wordSeparator");
    QTest::addColumn<QString>("text");

    QTest::newRow("title-follows-style") << QStringLiteral("{created_date}_{title}") << Style::Upper << Sep::Underscore
                                         << QStringLiteral("{created_date}_{TITLE_NAME}");
    QTest::newRow("literal-and-no-separator")
        << QStringLiteral("IMG{title}") << Style::Camel << Sep::Space << QStringLiteral("IMG{titleName}");
    QTest::newRow("plain-original-untouched")
        << QStringLiteral("{original}") << Style::Upper << Sep::None << QStringLiteral("{original}");
    QTest::newRow("original-keeps-own-spelling") << QStringLiteral("{original-name}_{title}") << Style::Pascal
                                                 << Sep::Space << QStringLiteral("{original-name}_{TitleName}");
    QTest::newRow("aliases-written-canonical") << QStringLiteral("{Vendor Name} {invoice date long}") << Style::Title
                                               << Sep::Space << QStringLiteral("{vendor} {invoice_date_long}");
    QTest::newRow("month-number-written-as-month")
        << QStringLiteral("{month_number}") << Style::Title << Sep::Space << QStringLiteral("{month}");
    QTest::newRow("sanitised-text-written")
        << QStringLiteral("{date} (copy)") << Style::Title << Sep::Space << QStringLiteral("{date} copy");
}

void NamingPatternEditorTest::textFromItems()
{
    QFETCH(QString, pattern);
    QFETCH(NamingCaseStyle, caseStyle);
    QFETCH(NamingPatternSeparator, wordSeparator);
    QFETCH(QString, text);
    QCOMPARE(joinedText(blocksFromItems(Nomly::itemsFromText(pattern), caseStyle, wordSeparator)), text);
}

void NamingPatternEditorTest::blocksMirrorTheText()
{
    const QList<NamingPatternBlock> blocks
        = blocksFromItems(Nomly::itemsFromText(QStringLiteral("IMG-{created_date}_{title}")), Style::Title, Sep::Space);
    QCOMPARE(blocks,
             QList({ literalBlock(u"IMG"),
                     variableBlock(u"{created_date}", Sep::Hyphen),
                     variableBlock(u"{Title Name}", Sep::Underscore) }));
}

void NamingPatternEditorTest::originalSpellingsRoundTrip()
{
    for (const OriginalNameToken &row : OriginalNameTokens) {
        const QString token = QString::fromUtf16(row.token);
        const NamingPatternItems items = Nomly::itemsFromText(token);
        QCOMPARE(describe(items), QStringList(u"{original}@" + formattingText({ row.caseStyle, row.wordSeparator })));
        QCOMPARE(joinedText(blocksFromItems(items, Style::Snake, Sep::Hyphen)), token);
    }
}

void NamingPatternEditorTest::operations_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<bool>("readOnly");
    QTest::addColumn<EditorOperation>("operation");
    QTest::addColumn<bool>("changed");
    QTest::addColumn<QString>("text");

    auto row
        = [](const char *tag, const char16_t *pattern, bool changed, const char16_t *text, EditorOperation operation) {
              QTest::newRow(tag) << QString::fromUtf16(pattern) << false << operation << changed
                                 << QString::fromUtf16(text);
          };
    auto readOnlyRow = [](const char *tag, EditorOperation operation) {
        QTest::newRow(tag) << QStringLiteral("{date}_IMG_{original}") << true << operation << false
                           << QStringLiteral("{date}_IMG_{original}");
    };
    using E = NamingPatternEditor;

    // Chips added join with the block separator, a hyphen here.
    row("add-variable", u"{date}", true, u"{date}-{Title Name}", [](E &e) {
        return e.addVariable(QStringLiteral("{title}"));
    });
    row("add-variable-canonical", u"{date}", true, u"{date}-{vendor}", [](E &e) {
        return e.addVariable(QStringLiteral("vendor name"));
    });
    row("add-variable-keeps-original-spelling", u"{date}", true, u"{date}-{ORIGINAL_NAME}", [](E &e) {
        return e.addVariable(QStringLiteral("{ORIGINAL_NAME}"));
    });
    row("add-blank-variable-refused", u"{date}", false, u"{date}", [](E &e) {
        return e.addVariable(QStringLiteral(" "));
    });
    row("add-custom-text-sanitised", u"{date}", true, u"{date}-Q3 report", [](E &e) {
        return e.addCustomText(QStringLiteral(" Q3 / report "));
    });

    row("remove-first-drops-separator-after", u"{date}_{time}.{title}", true, u"{time}.{Title Name}", [](E &e) {
        return e.removeItem(0);
    });
    row("remove-last-drops-separator-before", u"{date}_{time}.{title}", true, u"{date}_{time}", [](E &e) {
        return e.removeItem(2);
    });
    row("remove-middle-drops-separator-before", u"{date}_{time}.{title}", true, u"{date}.{Title Name}", [](E &e) {
        return e.removeItem(1);
    });
    row("remove-last-chip-refused", u"{date}", false, u"{date}", [](E &e) { return e.removeItem(0); });
    row("remove-out-of-range-refused", u"{date}_{time}", false, u"{date}_{time}", [](E &e) { return e.removeItem(2); });

    row("edit-custom-text", u"IMG-{date}", true, u"Scan 01-{date}", [](E &e) {
        return e.editCustomText(0, QStringLiteral("Scan: 01"));
    });
    row("edit-custom-text-to-nothing-removes", u"IMG-{date}_{title}", true, u"{date}_{Title Name}", [](E &e) {
        return e.editCustomText(0, QStringLiteral("//"));
    });
    row("edit-last-chip-to-nothing-refused", u"IMG", false, u"IMG", [](E &e) {
        return e.editCustomText(0, QString());
    });
    row("edit-variable-as-text-refused", u"{date}", false, u"{date}", [](E &e) {
        return e.editCustomText(0, QStringLiteral("x"));
    });

    row("change-format", u"{created_date}_{title}", true, u"{created_date_iso}_{Title Name}", [](E &e) {
        return e.changeFormat(0, QStringLiteral("{created_date_iso}"));
    });
    row("change-format-canonical", u"{date}", true, u"{month}", [](E &e) {
        return e.changeFormat(0, QStringLiteral("{Month Number}"));
    });
    row("change-format-to-original-spelling", u"{original}", true, u"{Original.Name}", [](E &e) {
        return e.changeFormat(0, QStringLiteral("{Original.Name}"));
    });
    row("change-format-of-text-refused", u"IMG", false, u"IMG", [](E &e) {
        return e.changeFormat(0, QStringLiteral("{date}"));
    });

    row("case-style-on-title-chip", u"{date}_{title}", true, u"{date}_{TITLE NAME}", [](E &e) {
        return e.changeCaseStyle(1, Style::Upper);
    });
    row("case-style-on-other-chip-styles-title", u"{date}_{title}", true, u"{date}_{title_name}", [](E &e) {
        return e.changeCaseStyle(0, Style::Snake);
    });
    row("case-style-on-original-sets-its-own", u"{original}_{title}", true, u"{ORIGINAL NAME}_{Title Name}", [](E &e) {
        return e.changeCaseStyle(0, Style::Upper) && e.namingCaseStyle() == Style::Title;
    });
    row("case-style-on-original-keeps-separator", u"{original-name}", true, u"{Original-Name}", [](E &e) {
        return e.changeCaseStyle(0, Style::Title);
    });
    row("case-style-on-original-takes-only-spelling", u"{original-name}", true, u"{originalName}", [](E &e) {
        return e.changeCaseStyle(0, Style::Camel);
    });
    row("case-style-without-original-spelling-refused", u"{original}", false, u"{original}", [](E &e) {
        return e.changeCaseStyle(0, Style::Snake);
    });

    row("word-separator-on-title-chip", u"{title}", true, u"{Title_Name}", [](E &e) {
        return e.changeWordSeparator(0, Sep::Underscore);
    });
    row("word-separator-none-on-text-chip", u"IMG {title}", true, u"IMG {TitleName}", [](E &e) {
        return e.changeWordSeparator(0, Sep::None);
    });
    row("word-separator-on-original", u"{Original Name}_{title}", true, u"{Original.Name}_{Title Name}", [](E &e) {
        return e.changeWordSeparator(0, Sep::Dot);
    });
    row("word-separator-on-original-takes-first-spelling", u"{OriginalName}", true, u"{Original Name}", [](E &e) {
        return e.changeWordSeparator(0, Sep::Space);
    });
    row("same-word-separator-changes-nothing", u"{title}", false, u"{title}", [](E &e) {
        return e.changeWordSeparator(0, Sep::Space);
    });

    row("change-separator", u"{date}_{title}", true, u"{date}.{Title Name}", [](E &e) {
        return e.changeSeparator(0, Sep::Dot);
    });
    row("change-separator-past-end-refused", u"{date}_{title}", false, u"{date}_{title}", [](E &e) {
        return e.changeSeparator(1, Sep::Dot);
    });
    row("change-separator-negative-refused", u"{date}_{title}", false, u"{date}_{title}", [](E &e) {
        return e.changeSeparator(-1, Sep::Dot);
    });

    row("drag-forward-separators-stay", u"{date}_{time}.{year}", true, u"{time}_{year}.{date}", [](E &e) {
        return e.moveItem(0, 2);
    });
    row("drag-backward-separators-stay", u"{date}_{time}.{year}", true, u"{year}_{date}.{time}", [](E &e) {
        return e.moveItem(2, 0);
    });
    row("drag-onto-itself", u"{date}_{time}", false, u"{date}_{time}", [](E &e) { return e.moveItem(1, 1); });
    row("drag-out-of-range", u"{date}_{time}", false, u"{date}_{time}", [](E &e) { return e.moveItem(0, 2); });

    readOnlyRow("read-only-refuses-add-variable", [](E &e) { return e.addVariable(QStringLiteral("{title}")); });
    readOnlyRow("read-only-refuses-add-text", [](E &e) { return e.addCustomText(QStringLiteral("x")); });
    readOnlyRow("read-only-refuses-remove", [](E &e) { return e.removeItem(0); });
    readOnlyRow("read-only-refuses-edit-text", [](E &e) { return e.editCustomText(1, QStringLiteral("x")); });
    readOnlyRow("read-only-refuses-format", [](E &e) { return e.changeFormat(0, QStringLiteral("{date_iso}")); });
    readOnlyRow("read-only-refuses-case-style", [](E &e) { return e.changeCaseStyle(0, Style::Upper); });
    readOnlyRow("read-only-refuses-original-style", [](E &e) { return e.changeCaseStyle(2, Style::Upper); });
    readOnlyRow("read-only-refuses-word-separator", [](E &e) { return e.changeWordSeparator(0, Sep::None); });
    readOnlyRow("read-only-refuses-separator", [](E &e) { return e.changeSeparator(0, Sep::Dot); });
    readOnlyRow("read-only-refuses-drag", [](E &e) { return e.moveItem(0, 1); });
    readOnlyRow("read-only-refuses-pattern-style", [](E &e) { return e.setNamingCaseStyle(Style::Upper); });
}

void NamingPatternEditorTest::operations()
{
    QFETCH(QString, pattern);
    QFETCH(bool, readOnly);
    QFETCH(EditorOperation, operation);
    QFETCH(bool, changed);
    QFETCH(QString, text);

    NamingPatternEditor editor = loadedEditor(pattern);
    editor.setReadOnly(readOnly);
    const QStringList before = describe(editor);

    QCOMPARE(operation(editor), changed);
    QCOMPARE(editor.text(), text);
    if (changed) {
        QCOMPARE(editor.separators().size(), editor.items().size() - 1);
        QCOMPARE(joinedText(editor.blocks()), editor.text());
        QCOMPARE(editor.blocks().size(), editor.items().size());
    } else {
        QCOMPARE(describe(editor), before);
    }
}

void NamingPatternEditorTest::chipsKeepTheirIds()
{
    NamingPatternEditor editor = loadedEditor(QStringLiteral("IMG_{created_date}-{title}"));
    const QUuid text = editor.items().at(0).id;
    const QUuid date = editor.items().at(1).id;
    QVERIFY(!text.isNull() && text != date);

    QVERIFY(editor.changeFormat(1, QStringLiteral("{created_date_long}")));
    QVERIFY(editor.editCustomText(0, QStringLiteral("Scan")));
    QVERIFY(editor.moveItem(1, 2));
    QCOMPARE(editor.indexOf(date), 2);
    QCOMPARE(editor.indexOf(text), 0);
    QCOMPARE(editor.indexOf(QUuid::createUuid()), -1);
    QCOMPARE(editor.text(), QStringLiteral("Scan_{Title Name}-{created_date_long}"));
}

void NamingPatternEditorTest::formatMenus_data()
{
    QTest::addColumn<QString>("token");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("options");

    const QStringList createdDate = chips({ u"{created_date} Default",
                                            u"{created_date_iso} YYYY-MM-DD",
                                            u"{created_date_dot} DD.MM.YYYY",
                                            u"{created_date_long} July 15 2026",
                                            u"{created_date_compact} YYYYMMDD" });
    const QStringList month = chips({ u"{month} 07", u"{month_short} Jul", u"{month_name} July" });
    const QString dateTitle = QStringLiteral("Date format");

    QTest::newRow("date-field") << QStringLiteral("{created_date}") << dateTitle << createdDate;
    QTest::newRow("date-variant-same-menu") << QStringLiteral("{created_date_dot}") << dateTitle << createdDate;
    QTest::newRow("date-alias-same-menu") << QStringLiteral("{creation date}") << dateTitle << createdDate;
    QTest::newRow("detected-date-variant") << QStringLiteral("{invoice_date_long}") << dateTitle
                                           << chips({ u"{invoice_date} Default",
                                                      u"{invoice_date_iso} YYYY-MM-DD",
                                                      u"{invoice_date_dot} DD.MM.YYYY",
                                                      u"{invoice_date_long} July 15 2026",
                                                      u"{invoice_date_compact} YYYYMMDD" });
    QTest::newRow("capture-time") << QStringLiteral("{capture_time_12h}") << QStringLiteral("Time format")
                                  << chips({ u"{capture_time} 14.30.00",
                                             u"{capture_time_short} 14.30",
                                             u"{capture_time_compact} 143000",
                                             u"{capture_time_hyphen} 14-30-00",
                                             u"{capture_time_12h} 2.30 PM" });
    QTest::newRow("month-number") << QStringLiteral("{month}") << QStringLiteral("Month format") << month;
    QTest::newRow("month-name") << QStringLiteral("{month_name}") << QStringLiteral("Month format") << month;
    QTest::newRow("year-short") << QStringLiteral("{year_short}") << QStringLiteral("Year format")
                                << chips({ u"{year} 2026", u"{year_short} 26" });
    QTest::newRow("extension") << QStringLiteral("{extension_original}") << QStringLiteral("Extension format")
                               << chips({ u"{extension} png",
                                          u"{extension_upper} PNG",
                                          u"{extension_original} Original" });
    QTest::newRow("size") << QStringLiteral("{size_kb}") << QStringLiteral("Size format")
                          << chips({ u"{size} Auto", u"{size_bytes} Bytes", u"{size_kb} KB", u"{size_mb} MB" });
    QTest::newRow("duration") << QStringLiteral("{duration}") << QStringLiteral("Duration format")
                              << chips({ u"{duration} 1m24s",
                                         u"{duration_clock} 00.01.24",
                                         u"{duration_minutes} 1.4m",
                                         u"{duration_seconds} 84s" });
    QTest::newRow("resolution") << QStringLiteral("{resolution_height}") << QStringLiteral("Resolution format")
                                << chips({ u"{resolution} 1920x1080",
                                           u"{resolution_hyphen} 1920-1080",
                                           u"{resolution_height} 1080p" });
    QTest::newRow("frame-rate") << QStringLiteral("{fps}") << QStringLiteral("Frame rate format")
                                << chips({ u"{frame_rate} 29.97fps",
                                           u"{frame_rate_rounded} 30fps",
                                           u"{frame_rate_number} 29.97" });
    QTest::newRow("title-has-none") << QStringLiteral("{title}") << QString() << QStringList();
    QTest::newRow("detected-text-has-none") << QStringLiteral("{vendor}") << QString() << QStringList();
    QTest::newRow("wrong-suffix-has-none") << QStringLiteral("{created_date_short}") << QString() << QStringList();
    QTest::newRow("unknown-has-none") << QStringLiteral("{mystery}") << QString() << QStringList();
}

void NamingPatternEditorTest::formatMenus()
{
    QFETCH(QString, token);
    QFETCH(QString, title);
    QFETCH(QStringList, options);

    const std::optional<NamingPatternFormatMenu> menu = formatMenuForToken(token);
    QCOMPARE(menu.has_value(), !title.isEmpty());
    if (!menu)
        return;
    QCOMPARE(menu->title, title);
    QStringList rows;
    for (const NamingPatternTokenFormatOption &option : menu->options)
        rows.append(option.token + u' ' + option.titleKey);
    QCOMPARE(rows, options);
}

QTEST_GUILESS_MAIN(NamingPatternEditorTest)

#include "namingpatterneditortest.moc"
