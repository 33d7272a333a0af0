#pragma once

#include <QByteArray>
#include <QList>

#include "platform/result.h"
#include "workflows/batchrenameitem.h"

namespace Nomly {

// A reviewed batch kept in a file, so that it can be read, edited by hand and
// renamed later without asking the AI again: each analysed file with its
// proposal, the analysis behind it and its content hash.
namespace BatchRenamePlan {

// The analysed items of `items`; the others are left out.
QByteArray toJson(const QList<BatchRenameItem> &items);

// The items of a plan as analysed items; a name edited in the file is the
// item's edited name. Fails with the reason for a file that is not a plan.
Result<QList<BatchRenameItem>> fromJson(const QByteArray &json);

} // namespace BatchRenamePlan

} // namespace Nomly
