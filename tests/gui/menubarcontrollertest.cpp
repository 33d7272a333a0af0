// The tray's menu and icon as a user meets them: the items of each mode,
// in their words and order, updated in place, rebuilt for a new language,
// and an icon for each state that looks like no other.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QMenu>
#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include "gui/menubarcontroller.h"
#include "platform/userdefaults.h"

using namespace Qt::StringLiterals;

namespace Nomly {

namespace {

// The visible items from top to bottom, a separator as "-".
QStringList items(const QMenu &menu)
{
    QStringList texts;
    for (const QAction *action : menu.actions()) {
        if (action->isVisible())
            texts.append(action->isSeparator() ? u"-"_s : action->text());
    }
    return texts;
}

QAction *item(const QMenu &menu, const QString &text)
{
    for (QAction *action : menu.actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

MenuBarPresentationState standard()
{
    return { MenuBarDisplayMode::Standard, MenuBarIconMode::Standard, false, false, true, {} };
}

class Pseudo final : public QTranslator
{
public:
    QString translate(const char *, const char *source, const char *, int) const override
    {
        return u"[%1]"_s.arg(QString::fromUtf8(source));
    }

    bool isEmpty() const override { return false; }
};

} // namespace

class MenuBarControllerTest final : public QObject
{
    Q_OBJECT

private slots:

    void menuByState_data()
    {
        QTest::addColumn<MenuBarPresentationState>("state");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<TrayIconState>("icon");

        const QStringList running { u"Open Nomly"_s, u"Pause Monitor"_s, u"-"_s, u"About Nomly"_s, u"-"_s, u"Quit"_s };
        QTest::newRow("setup") << MenuBarPresentationState { MenuBarDisplayMode::SetupRequired,
                                                             MenuBarIconMode::Standard,
                                                             true,
                                                             true,
                                                             false,
                                                             u"Finish Setup..."_s }
                               << QStringList { u"Finish Setup..."_s, u"-"_s, u"Quit"_s } << TrayIconState::Standard;
        QTest::newRow("standard") << standard() << running << TrayIconState::Standard;
        MenuBarPresentationState offline = standard();
        offline.isOffline = true;
        QTest::newRow("offline") << offline << QStringList { u"No Internet Connection"_s, u"-"_s } + running
                                 << TrayIconState::Offline;
        MenuBarPresentationState pausedWorking = standard();
        pausedWorking.isPaused = true;
        pausedWorking.iconMode = MenuBarIconMode::Processing;
        QStringList resumed = running;
        resumed[1] = u"Resume Monitor"_s;
        QTest::newRow("paused while working") << pausedWorking << resumed << TrayIconState::Processing;
        MenuBarPresentationState paused = standard();
        paused.isPaused = true;
        QTest::newRow("paused") << paused << resumed << TrayIconState::Paused;
    }

    // Reached from another state, so that updates in place are what is seen.
    void menuByState()
    {
        QFETCH(MenuBarPresentationState, state);
        QFETCH(QStringList, expected);
        QFETCH(TrayIconState, icon);
        MenuBarController controller;
        MenuBarPresentationState before = standard();
        before.isOffline = !state.isOffline;
        before.isPaused = !state.isPaused;
        controller.apply(before);
        controller.apply(state);
        QCOMPARE(items(*controller.menu()), expected);
        QCOMPARE(controller.iconState(), icon);
    }

    void itemsAct()
    {
        MenuBarController controller;
        controller.apply(standard());
        QSignalSpy pause(&controller, &MenuBarController::pauseToggled);
        QSignalSpy open(&controller, &MenuBarController::openRequested);
        QSignalSpy about(&controller, &MenuBarController::aboutRequested);
        item(*controller.menu(), u"Pause Monitor"_s)->trigger();
        item(*controller.menu(), u"Open Nomly"_s)->trigger();
        item(*controller.menu(), u"About Nomly"_s)->trigger();
        QCOMPARE(pause.size() + open.size() + about.size(), 3);
        QVERIFY(!item(*controller.menu(), u"No Internet Connection"_s)->isEnabled());

        MenuBarPresentationState elsewhere = standard();
        elsewhere.canPause = false;
        controller.apply(elsewhere);
        QVERIFY(!item(*controller.menu(), u"Pause Monitor"_s)->isEnabled());
    }

    void languageChangeRebuildsTheMenu()
    {
        MenuBarController controller;
        controller.apply(standard());
        Pseudo pseudo;
        QApplication::installTranslator(&pseudo);
        QTRY_VERIFY(item(*controller.menu(), u"[Open Nomly]"_s));
        QApplication::removeTranslator(&pseudo);
        QTRY_VERIFY(item(*controller.menu(), u"Open Nomly"_s));
    }

    // Each state's icon differs from the others, and the glyph is drawn to
    // stand out on the panel it sits on.
    void iconsTellStatesApart()
    {
        const QList<TrayIconState> states { TrayIconState::Standard,
                                            TrayIconState::Processing,
                                            TrayIconState::Success,
                                            TrayIconState::Offline,
                                            TrayIconState::Paused };
        QList<QImage> images;
        for (const TrayIconState state : states)
            images.append(trayIcon(state, false).pixmap(22).toImage());
        for (qsizetype i = 0; i < images.size(); ++i) {
            for (qsizetype j = i + 1; j < images.size(); ++j)
                QVERIFY2(images[i] != images[j], qPrintable(u"%1 and %2"_s.arg(i).arg(j)));
        }
        QVERIFY(trayIcon(TrayIconState::Processing, false, 0).pixmap(22).toImage()
                != trayIcon(TrayIconState::Processing, false, 3).pixmap(22).toImage());
        // The page's left edge, in ink.
        const QColor light = trayIcon(TrayIconState::Standard, false).pixmap(22).toImage().pixelColor(4, 10);
        const QColor dark = trayIcon(TrayIconState::Standard, true).pixmap(22).toImage().pixelColor(4, 10);
        QVERIFY2(light.lightness() < 100 && dark.lightness() > 150,
                 qPrintable(u"%1 %2"_s.arg(light.lightness()).arg(dark.lightness())));

        // The states on a light and a dark panel, for the README.
        constexpr int Size = 48;
        QImage strip(Size * int(states.size()), Size * 2, QImage::Format_ARGB32);
        strip.fill(QColor(0xf0, 0xf0, 0xf0));
        QPainter painter(&strip);
        painter.fillRect(0, Size, strip.width(), Size, QColor(0x30, 0x30, 0x34));
        for (qsizetype i = 0; i < states.size(); ++i) {
            painter.drawPixmap(int(i) * Size, 0, trayIcon(states[i], false, 1).pixmap(Size));
            painter.drawPixmap(int(i) * Size, Size, trayIcon(states[i], true, 1).pixmap(Size));
        }
        painter.end();
        const QString folder = QCoreApplication::applicationDirPath() + u"/screenshots"_s;
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(strip.save(folder + u"/tray-states.png"_s));
    }

    // Told a moment after onboarding, and remembered for the installation.
    void locationHintOnce()
    {
        QTemporaryDir directory;
        UserDefaults defaults(directory.filePath(u"Nomly.conf"_s));
        MenuBarController controller;
        controller.showLocationHint(defaults);
        QVERIFY(!defaults.boolValue(QLatin1String(MenuBarController::LocationHintKey)));
        QTRY_VERIFY(defaults.boolValue(QLatin1String(MenuBarController::LocationHintKey)));
    }
};

} // namespace Nomly

QTEST_MAIN(Nomly::MenuBarControllerTest)
#include "menubarcontrollertest.moc"
