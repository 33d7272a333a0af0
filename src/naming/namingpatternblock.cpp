#include "naming/namingpatternblock.h"

namespace Nomly {

QString joinedText(const QList<NamingPatternBlock> &blocks)
{
    QString text;
    for (qsizetype i = 0; i < blocks.size(); ++i) {
        const NamingPatternBlock &block = blocks.at(i);
        if (i > 0 && block.separatorBefore)
            text += rawValue(*block.separatorBefore);
        text += block.value;
    }
    return text;
}

} // namespace Nomly
