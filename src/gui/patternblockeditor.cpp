#include "gui/patternblockeditor.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

#include "naming/fieldcatalogue.h"
#include "naming/namingpatternformatmenu.h"

namespace Nomly {

namespace {

struct SeparatorChoice
{
    NamingPatternSeparator separator;
    const char16_t *label;
};

constexpr SeparatorChoice SeparatorChoices[] = {
    { NamingPatternSeparator::Space, u"Space" },     { NamingPatternSeparator::Underscore, u"Underscore _" },
    { NamingPatternSeparator::Hyphen, u"Hyphen -" }, { NamingPatternSeparator::Dot, u"Dot ." },
    { NamingPatternSeparator::None, u"None" },
};

// What a gap shows: the character itself, or a word for the invisible ones.
QString gapText(NamingPatternSeparator separator)
{
    switch (separator) {
    case NamingPatternSeparator::Space:
        return QStringLiteral("␣");
    case NamingPatternSeparator::None:
        return QStringLiteral("·");
    default:
        return rawValue(separator);
    }
}

QString chipText(const NamingPatternTokenItem &item)
{
    if (const auto *literal = item.literal())
        return QStringLiteral("“%1”").arg(literal->text);
    const QString token = item.variable()->token;
    if (const NamingPatternField *field = fieldCatalogue().fieldForToken(token.toLower()))
        return field->label;
    return token;
}

} // namespace

PatternBlockEditor::PatternBlockEditor(QWidget *parent)
    : QWidget(parent)
{
    m_chips = new QWidget(this);
    m_chipsLayout = new QHBoxLayout(m_chips);
    m_chipsLayout->setContentsMargins(4, 4, 4, 4);
    m_chipsLayout->setSpacing(2);
    auto *scroll = new QScrollArea(this);
    scroll->setWidget(m_chips);
    scroll->setWidgetResizable(true);
    scroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Tall enough for a row of chips and the scroll bar under it, measured
    // on a chip as the style draws it.
    QToolButton probe;
    probe.setText(QStringLiteral("X"));
    probe.setPopupMode(QToolButton::InstantPopup);
    scroll->setFixedHeight(probe.sizeHint().height() + m_chipsLayout->contentsMargins().top()
                           + m_chipsLayout->contentsMargins().bottom() + 2 * scroll->frameWidth()
                           + style()->pixelMetric(QStyle::PM_ScrollBarExtent));

    m_variables = new QComboBox(this);
    m_variables->setObjectName(QStringLiteral("addVariable"));
    m_variables->addItem(QStringLiteral("Add variable…"));
    for (const NamingPatternFieldGroup &group : fieldCatalogue().groups()) {
        m_variables->insertSeparator(m_variables->count());
        for (const NamingPatternField &field : group.fields)
            m_variables->addItem(field.label, field.token);
    }
    connect(m_variables, &QComboBox::activated, this, [this](int index) {
        const QString token = m_variables->itemData(index).toString();
        m_variables->setCurrentIndex(0);
        if (!token.isEmpty())
            edit([&token](NamingPatternEditor &model) { return model.addVariable(token); });
    });

    m_customText = new QLineEdit(this);
    m_customText->setObjectName(QStringLiteral("addText"));
    m_customText->setPlaceholderText(QStringLiteral("Add text and press Enter"));
    connect(m_customText, &QLineEdit::returnPressed, this, [this] {
        const QString text = m_customText->text();
        if (edit([&text](NamingPatternEditor &model) { return model.addCustomText(text); }))
            m_customText->clear();
    });

    auto *adding = new QHBoxLayout;
    adding->addWidget(m_variables, 1);
    adding->addWidget(m_customText, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);
    layout->addLayout(adding);
}

void PatternBlockEditor::load(const QString &text,
                              const QList<NamingPatternBlock> &blocks,
                              NamingCaseStyle caseStyle,
                              NamingPatternSeparator wordSeparator,
                              NamingPatternSeparator blockSeparator)
{
    m_model = NamingPatternEditor(caseStyle, wordSeparator, blockSeparator);
    m_model.load(text, blocks, QStringLiteral("{title}"));
    rebuildChips();
}

bool PatternBlockEditor::edit(const std::function<bool(NamingPatternEditor &)> &change)
{
    if (!change(m_model))
        return false;
    // Chips are redrawn after the menu that asked for the change has closed,
    // since that menu belongs to one of them.
    QMetaObject::invokeMethod(this, &PatternBlockEditor::rebuildChips, Qt::QueuedConnection);
    emit patternChanged();
    return true;
}

void PatternBlockEditor::rebuildChips()
{
    while (QLayoutItem *item = m_chipsLayout->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (qsizetype index = 0; index < m_model.items().size(); ++index) {
        if (index > 0)
            addSeparator(index - 1);
        addChip(index);
    }
    m_chipsLayout->addStretch(1);
}

void PatternBlockEditor::addChip(qsizetype index)
{
    const NamingPatternTokenItem &item = m_model.items().at(index);
    const QUuid id = item.id;
    auto *chip = new QToolButton(m_chips);
    chip->setObjectName(QStringLiteral("chip"));
    chip->setText(chipText(item));
    chip->setPopupMode(QToolButton::InstantPopup);
    auto *menu = new QMenu(chip);
    // Each action finds its chip again by id: an earlier change may have
    // moved it.
    const auto at = [this, id] { return m_model.indexOf(id); };

    if (const auto *variable = item.variable()) {
        if (const auto formats = formatMenuForToken(variable->token)) {
            QMenu *formatMenu = menu->addMenu(formats->title);
            for (const NamingPatternTokenFormatOption &option : formats->options) {
                QAction *action = formatMenu->addAction(option.titleKey);
                action->setCheckable(true);
                action->setChecked(option.token == variable->token);
                connect(action, &QAction::triggered, this, [this, at, token = option.token] {
                    edit([&](NamingPatternEditor &model) { return model.changeFormat(at(), token); });
                });
            }
        }
    } else {
        connect(menu->addAction(QStringLiteral("Edit Text…")), &QAction::triggered, this, [this, at] {
            const qsizetype position = at();
            // A copy of the item: `value()` returns a temporary, and the
            // literal's text must outlive the statement that reads it.
            const NamingPatternTokenItem current = m_model.items().value(position);
            const auto *literal = current.literal();
            bool ok = false;
            const QString text = QInputDialog::getText(this,
                                                       QStringLiteral("Edit Text"),
                                                       QStringLiteral("Text"),
                                                       QLineEdit::Normal,
                                                       literal ? literal->text : QString(),
                                                       &ok);
            if (ok)
                edit([&](NamingPatternEditor &model) { return model.editCustomText(position, text); });
        });
    }
    connect(menu->addAction(QStringLiteral("Move Left")), &QAction::triggered, this, [this, at] {
        edit([&](NamingPatternEditor &model) { return model.moveItem(at(), at() - 1); });
    });
    connect(menu->addAction(QStringLiteral("Move Right")), &QAction::triggered, this, [this, at] {
        edit([&](NamingPatternEditor &model) { return model.moveItem(at(), at() + 1); });
    });
    menu->addSeparator();
    QAction *remove = menu->addAction(QStringLiteral("Remove"));
    remove->setEnabled(m_model.items().size() > 1);
    connect(remove, &QAction::triggered, this, [this, at] {
        edit([&](NamingPatternEditor &model) { return model.removeItem(at()); });
    });
    chip->setMenu(menu);
    m_chipsLayout->addWidget(chip);
}

void PatternBlockEditor::addSeparator(qsizetype index)
{
    const NamingPatternSeparator current = m_model.separators().at(index);
    auto *gap = new QToolButton(m_chips);
    gap->setObjectName(QStringLiteral("separator"));
    gap->setText(gapText(current));
    gap->setAutoRaise(true);
    gap->setToolTip(QStringLiteral("Separator"));
    gap->setPopupMode(QToolButton::InstantPopup);
    auto *menu = new QMenu(gap);
    for (const SeparatorChoice &choice : SeparatorChoices) {
        QAction *action = menu->addAction(QString::fromUtf16(choice.label));
        action->setCheckable(true);
        action->setChecked(choice.separator == current);
        connect(action, &QAction::triggered, this, [this, index, separator = choice.separator] {
            edit([&](NamingPatternEditor &model) { return model.changeSeparator(index, separator); });
        });
    }
    gap->setMenu(menu);
    m_chipsLayout->addWidget(gap);
}

} // namespace Nomly
