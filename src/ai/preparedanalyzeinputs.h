#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include "content/aianalyzeinput.h"

namespace Nomly {

// What preparing a batch of paths gave. Empty inputs with failures is an
// ordinary outcome, not an error.
struct PreparedAnalyzeInputs
{
    QList<AIAnalyzeInput> inputs; // in the order of the given paths
    QStringList analyzedPaths; // the path of each input, same length and order
    // Every path that gave no input, with the reason the user reads.
    QMap<QString, QString> failures;

    bool operator==(const PreparedAnalyzeInputs &) const = default;
};

} // namespace Nomly
