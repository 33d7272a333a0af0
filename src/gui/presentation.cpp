#include "gui/presentation.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QPalette>
#include <QScreen>
#include <QStandardPaths>
#include <QStyle>
#include <QStyleFactory>
#include <QTranslator>
#include <QWidget>

#include "app/settingsstore.h"
#include "platform/logcategories.h"
#include "platform/userdefaults.h"
#include "settings/appearancemode.h"
#include "settings/interfacelanguage.h"

namespace Nomly {

namespace {

constexpr const char *PlacedProperty = "nomlyPlaced";
// The desktop's own style and palette, kept before the first change so that
// "auto" can go back to them while the program runs.
constexpr const char *DesktopStyleProperty = "nomlyDesktopStyle";
constexpr const char *DesktopPaletteProperty = "nomlyDesktopPalette";
// Marks the translators this file installed, so a new language replaces them.
constexpr const char *OwnTranslatorName = "nomlyInterfaceTexts";

QPalette darkPalette()
{
    QPalette palette;
    const QColor window(0x2b, 0x2b, 0x2e);
    const QColor base(0x1f, 0x1f, 0x22);
    const QColor text(0xe8, 0xe8, 0xea);
    const QColor disabledText(0x80, 0x80, 0x86);
    const QColor highlight(0x3d, 0x7e, 0xdb);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, disabledText);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, window);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Link, highlight.lighter(130));
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, disabledText);
    return palette;
}

} // namespace

void switchAppearance(AppearanceMode mode)
{
    if (!qApp->property(DesktopStyleProperty).isValid()) {
        qApp->setProperty(DesktopStyleProperty, QApplication::style()->name());
        qApp->setProperty(DesktopPaletteProperty, QApplication::palette());
    }
    if (mode == AppearanceMode::Auto) {
        // The palette too: where the desktop's style is Fusion itself, the
        // style alone would keep the dark palette.
        const QString desktop = qApp->property(DesktopStyleProperty).toString();
        if (QApplication::style()->name() != desktop)
            QApplication::setStyle(desktop);
        QApplication::setPalette(desktopPalette());
        return;
    }
    QStyle *fusion = QStyleFactory::create(QStringLiteral("Fusion"));
    if (!fusion)
        return;
    QApplication::setStyle(fusion);
    QApplication::setPalette(mode == AppearanceMode::Dark ? darkPalette() : fusion->standardPalette());
}

// The program's own table comes from the installed data folders; Qt's own
// texts (standard buttons and dialogs) from Qt's translations.
void switchInterfaceLanguage(InterfaceLanguage language, QObject *owner)
{
    for (QTranslator *installed : owner->findChildren<QTranslator *>(QLatin1String(OwnTranslatorName))) {
        QCoreApplication::removeTranslator(installed);
        delete installed;
    }
    const InterfaceLanguage resolved = resolvedInterfaceLanguage(language, QLocale::system().uiLanguages());
    if (resolved == InterfaceLanguage::En)
        return;
    const QLocale locale(localeIdentifier(resolved));
    auto *qtTexts = new QTranslator(owner);
    qtTexts->setObjectName(QLatin1String(OwnTranslatorName));
    if (qtTexts->load(
            locale, QStringLiteral("qtbase"), QStringLiteral("_"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(qtTexts);
    auto *ownTexts = new QTranslator(owner);
    ownTexts->setObjectName(QLatin1String(OwnTranslatorName));
    const QString folder = QStandardPaths::locate(
        QStandardPaths::GenericDataLocation, QStringLiteral("nomly/translations"), QStandardPaths::LocateDirectory);
    if (!folder.isEmpty() && ownTexts->load(locale, QStringLiteral("nomly"), QStringLiteral("_"), folder))
        QCoreApplication::installTranslator(ownTexts);
    else
        qCInfo(lcGeneral).noquote() << "No interface texts for" << rawValue(resolved) << "; English is shown";
}

void applyPresentation(const UserDefaults &defaults, QObject *owner)
{
    const QString appearance = defaults.value(SettingsStore::AppearanceKey).toString();
    switchAppearance(appearanceModeFromRaw(appearance).value_or(AppearanceMode::Auto));
    const QString language = defaults.value(SettingsStore::InterfaceLanguageKey).toString();
    switchInterfaceLanguage(interfaceLanguageFromRaw(language).value_or(InterfaceLanguage::Auto), owner);
}

QPalette desktopPalette()
{
    const QVariant saved = qApp->property(DesktopPaletteProperty);
    return saved.isValid() ? saved.value<QPalette>() : QApplication::palette();
}

QFont headingFont(const QFont &base, qreal scale)
{
    QFont font = base;
    font.setPointSizeF(font.pointSizeF() * scale);
    font.setBold(true);
    return font;
}

void placeOnFirstShow(QWidget &window)
{
    if (window.property(PlacedProperty).toBool())
        return;
    window.setProperty(PlacedProperty, true);
    const QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->availableGeometry();
    const QSize size = window.size().expandedTo(window.minimumSize()).boundedTo(area.size());
    window.resize(size);
    window.move(area.center() - QPoint(size.width() / 2, size.height() / 2));
}

} // namespace Nomly
