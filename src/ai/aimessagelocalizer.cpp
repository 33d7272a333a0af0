#include "ai/aimessagelocalizer.h"

namespace Nomly {

QString localizedAIMessage(const QString &text)
{
    return text;
}

} // namespace Nomly
