#include "app/folderclassification.h"

#include <QDir>
#include <array>

#include "platform/canonicalpath.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

// Folders whose whole tree is system territory or shared between users.
const std::array ForbiddenRoots = {
    u"/"_s,    u"/home"_s, u"/root"_s, u"/usr"_s,  u"/bin"_s, u"/sbin"_s, u"/lib"_s, u"/etc"_s,   u"/var"_s, u"/tmp"_s,
    u"/opt"_s, u"/boot"_s, u"/dev"_s,  u"/proc"_s, u"/sys"_s, u"/run"_s,  u"/srv"_s, u"/media"_s, u"/mnt"_s,
};

// Inside the home folder, the ones that hold programs' state rather than
// the user's documents.
const std::array ForbiddenHomeFolders = {
    u""_s,
    u"/.config"_s,
    u"/.local"_s,
    u"/.cache"_s,
};

} // namespace

FolderClassification classifyFolder(const QString &path, const QString &home)
{
    const QString resolved = canonicalPath(path);
    const QString homeFolder = canonicalPath(home.isEmpty() ? QDir::homePath() : home);

    for (const QString &root : ForbiddenRoots) {
        if (resolved == root)
            return FolderClassification::Forbidden;
    }
    for (const QString &folder : ForbiddenHomeFolders) {
        if (resolved == homeFolder + folder)
            return FolderClassification::Forbidden;
    }
    const QString homePrefix = homeFolder + u'/';
    if (!resolved.startsWith(homePrefix) || resolved.startsWith(homePrefix + u'.'))
        return FolderClassification::Forbidden;
    return FolderClassification::Allowed;
}

QString forbiddenFolderAlertTitle()
{
    return u"Folder Not Allowed"_s;
}

QString forbiddenFolderAlertMessage()
{
    return u"Please select a specific folder like Desktop, Downloads, or Documents. System folders and root "
           u"directories are not allowed for performance reasons."_s;
}

} // namespace Nomly
