#pragma once

#include <QWidget>
#include <functional>

#include "naming/namingpatterneditor.h"

class QComboBox;
class QHBoxLayout;
class QLineEdit;

namespace Nomly {

// A naming pattern as a row of chips: each variable or piece of text is a
// button whose menu changes its format, moves or removes it, and each gap
// between two is a button choosing their separator. Variables are added from
// the catalogue's list, text from the field beside it.
class PatternBlockEditor final : public QWidget
{
    Q_OBJECT

public:
    explicit PatternBlockEditor(QWidget *parent = nullptr);

    const NamingPatternEditor &model() const { return m_model; }

    void load(const QString &text,
              const QList<NamingPatternBlock> &blocks,
              NamingCaseStyle caseStyle,
              NamingPatternSeparator wordSeparator,
              NamingPatternSeparator blockSeparator);

    // Makes a change through the model; the chips are redrawn and
    // patternChanged() sent only when something changed.
    bool edit(const std::function<bool(NamingPatternEditor &)> &change);

Q_SIGNALS:
    void patternChanged();

private:
    void rebuildChips();
    void addChip(qsizetype index);
    void addSeparator(qsizetype index);

    NamingPatternEditor m_model;
    QWidget *m_chips = nullptr;
    QHBoxLayout *m_chipsLayout = nullptr;
    QComboBox *m_variables = nullptr;
    QLineEdit *m_customText = nullptr;
};

} // namespace Nomly
