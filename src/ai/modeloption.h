#pragma once

#include <QString>

namespace Nomly {

// One model a provider offers for analysis, as the model picker lists it.
struct ModelOption
{
    QString id;
    QString displayName;

    bool operator==(const ModelOption &) const = default;
};

} // namespace Nomly
