#include "naming/naturalorder.h"

#include <QLocale>

namespace Nomly {

QCollator naturalOrderCollator()
{
    const QLocale system;
    QCollator collator(system.language() == QLocale::C ? QLocale(QLocale::English) : system);
    collator.setNumericMode(true);
    return collator;
}

} // namespace Nomly
