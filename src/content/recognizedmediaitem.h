#pragma once

#include <QString>
#include <QStringList>

namespace Nomly {

// What a song recogniser knows about the track it matched.
struct RecognizedMediaItem
{
    QString title;
    QString subtitle;
    QString artist;
    QStringList genres;
    QString catalogueID;
    QString webURL;

    bool operator==(const RecognizedMediaItem &) const = default;
};

} // namespace Nomly
