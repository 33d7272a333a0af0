#pragma once

#include <QString>

namespace Nomly {

// Where Nomly keeps its files, after the XDG base directories:
// $XDG_DATA_HOME/Nomly (the database), $XDG_CONFIG_HOME/Nomly (user defaults,
// the secrets fallback) and $XDG_CACHE_HOME/Nomly. None is created here; the
// owner of a file creates its folder before writing.
class DataLocations final
{
public:
    DataLocations() = delete;

    static QString dataDirectory();
    static QString configDirectory();
    static QString cacheDirectory();
};

} // namespace Nomly
