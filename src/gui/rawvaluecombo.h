#pragma once

#include <QComboBox>
#include <functional>

#include "naming/namingpatternseparator.h"
#include "naming/rawvalue.h"

namespace Nomly {

// A choice among the values of a raw-value table: each item shows its label
// and carries the stored text as its data, so a combo box reads and writes
// settings in their stored form.
template<typename Enum, std::size_t Size>
void fillRawValueCombo(QComboBox *combo,
                       const RawValueTable<Enum, Size> &table,
                       const std::function<QString(Enum)> &label)
{
    for (const auto &[value, raw] : table)
        combo->addItem(label(value), QString::fromUtf16(raw));
}

// Selects the item carrying `raw`, or the first when none does.
inline void selectRawValue(QComboBox *combo, const QString &raw)
{
    combo->setCurrentIndex(std::max(0, combo->findData(raw)));
}

// "Underscore", "Space": a separator as a menu shows it.
inline QString separatorLabel(NamingPatternSeparator separator)
{
    const QString name = caseName(separator);
    return name.left(1).toUpper() + name.mid(1);
}

} // namespace Nomly
