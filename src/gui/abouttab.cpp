#include "gui/abouttab.h"

#include <QDesktopServices>
#include <QDir>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include "app/libraryversions.h"
#include "gui/presentation.h"
#include "gui/trayicons.h"
#include "platform/datalocations.h"

namespace Nomly {

namespace {

struct Folder
{
    const char *label;
    QString (*path)();
    const char *name;
};

const Folder Folders[] = {
    { QT_TRANSLATE_NOOP("Nomly::AboutTab", "History and templates"), &DataLocations::dataDirectory, "openData" },
    { QT_TRANSLATE_NOOP("Nomly::AboutTab", "Settings"), &DataLocations::configDirectory, "openConfig" },
    { QT_TRANSLATE_NOOP("Nomly::AboutTab", "Cache"), &DataLocations::cacheDirectory, "openCache" },
};

} // namespace

AboutTab::AboutTab(QWidget *parent)
    : QWidget(parent)
{
    auto *logo = new QLabel(this);
    logo->setPixmap(themedIcon(QStringLiteral("nomly")).pixmap(64));
    auto *name = new QLabel(QStringLiteral("Nomly"), this);
    name->setFont(headingFont(name->font(), 2));
    auto *version = new QLabel(tr("Version %1").arg(QStringLiteral(NOMLY_VERSION)), this);
    version->setObjectName(QStringLiteral("version"));
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *tagline = new QLabel(tr("Gives files names that say what they hold. For a bug report, "
                                  "nomly diagnose prints all of this and the state of the desktop's services."),
                               this);
    tagline->setWordWrap(true);
    auto *titles = new QVBoxLayout;
    titles->addWidget(name);
    titles->addWidget(version);
    titles->addWidget(tagline);
    auto *header = new QHBoxLayout;
    header->addWidget(logo, 0, Qt::AlignTop);
    header->addLayout(titles, 1);

    auto *libraries = new QTreeWidget(this);
    libraries->setObjectName(QStringLiteral("libraries"));
    libraries->setRootIsDecorated(false);
    libraries->setSelectionMode(QAbstractItemView::NoSelection);
    libraries->setHeaderLabels({ tr("Library"), tr("Version"), tr("Licence") });
    for (const LibraryVersion &library : libraryVersions())
        new QTreeWidgetItem(libraries, { library.name, library.version, library.licence });
    libraries->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    auto *librariesBox = new QGroupBox(tr("Built with"), this);
    auto *librariesLayout = new QVBoxLayout(librariesBox);
    librariesLayout->addWidget(libraries);

    auto *foldersBox = new QGroupBox(tr("Where Nomly keeps its files"), this);
    auto *folders = new QGridLayout(foldersBox);
    int row = 0;
    for (const Folder &folder : Folders) {
        const QString path = folder.path();
        auto *where = new QLabel(QDir::toNativeSeparators(path), foldersBox);
        where->setTextInteractionFlags(Qt::TextSelectableByMouse);
        auto *open = new QPushButton(tr("Open"), foldersBox);
        open->setObjectName(QLatin1String(folder.name));
        open->setToolTip(tr("Show %1 in the file manager").arg(path));
        // A folder not made yet (nothing cached so far) has nothing to show.
        open->setEnabled(QDir(path).exists());
        connect(open, &QPushButton::clicked, this, [path] { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); });
        folders->addWidget(new QLabel(tr(folder.label), foldersBox), row, 0);
        folders->addWidget(where, row, 1);
        folders->addWidget(open, row, 2);
        ++row;
    }
    folders->setColumnStretch(1, 1);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(librariesBox, 1);
    layout->addWidget(foldersBox);
}

} // namespace Nomly
