#pragma once

#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>

namespace Nomly {

// What a drop of files and folders holds for AI Rename: the files it can name,
// in the order they were found, and what was passed over.
struct BatchDropSummary
{
    QStringList pathsToAdd;
    int addedCount = 0;
    int skippedCount = 0; // unsupported, already in the batch, or a folder's sub-folder
    bool didHitLimit = false;
    bool containsFolder = false;

    // Walks the given paths in order, folders recursively (hidden entries
    // and the contents of document bundles skipped), and keeps at most
    // `capacity` supported files that are not in `existing`. A path that does
    // not exist is passed over without a count. Paths compare resolved, so a
    // link and its file are one; `existing` holds resolved paths. Reads the
    // file system: call it off the main thread. `isCancelled` is asked
    // before each entry.
    static BatchDropSummary collect(const QStringList &paths,
                                    const QSet<QString> &supportedExtensions,
                                    QSet<QString> existing,
                                    int capacity,
                                    const std::function<bool()> &isCancelled = {});

    // A document saved as a folder: the word processor, spreadsheet and
    // slides formats that keep their parts in a directory.
    static bool isDocumentBundle(const QString &path);
};

} // namespace Nomly
