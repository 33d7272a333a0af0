// The quick-rename hotkey on a Linux desktop: a desktop portal on a private
// session bus, a real key grab on a virtual X server pressed by xdotool, and
// the files a file manager copied to the clipboard.

#include <QClipboard>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <memory>

#include <xcb/xcb.h>

#include <qcoro/qcorotask.h>

#include "gui/desktophotkeyservice.h"
#include "gui/portalglobalshortcut.h"

using namespace Qt::StringLiterals;
using namespace Nomly;

// A shortcut as BindShortcuts receives it.
struct BoundShortcut
{
    QString id;
    QVariantMap properties;
};

QDBusArgument &operator<<(QDBusArgument &argument, const BoundShortcut &shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, BoundShortcut &shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

namespace {

constexpr KeyboardShortcut CtrlShiftR { 15, KeyboardShortcut::CommandModifier | KeyboardShortcut::ShiftModifier };

const QString PortalService = u"org.freedesktop.portal.Desktop"_s;
const QString PortalPath = u"/org/freedesktop/portal/desktop"_s;
const QString ShortcutsInterface = u"org.freedesktop.portal.GlobalShortcuts"_s;

bool isX11()
{
    return QGuiApplication::platformName() == "xcb"_L1;
}

} // namespace

Q_DECLARE_METATYPE(BoundShortcut)

// A session of the portal below, which notes when its client closes it.
class PortalSession final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Session")

public:
    using QObject::QObject;
    bool closed = false;

public Q_SLOTS:

    void Close() { closed = true; }
};

// The GlobalShortcuts interface of a desktop portal, on a connection of its
// own, answering as the portal does: a request object per call whose Response
// signal follows the reply.
class FakePortal final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")

public:
    enum class Mode
    {
        Accept,
        RefuseSession,
        CancelBind,
    };

    explicit FakePortal(Mode mode)
        : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"fake-portal"_s))
        , m_mode(mode)
    {
        qDBusRegisterMetaType<BoundShortcut>();
        qDBusRegisterMetaType<QList<BoundShortcut>>();
        m_bus.registerObject(PortalPath, this, QDBusConnection::ExportAllSlots);
        m_bus.registerService(PortalService);
    }

    ~FakePortal() override
    {
        m_bus.unregisterService(PortalService);
        QDBusConnection::disconnectFromBus(u"fake-portal"_s);
    }

    QString sessionPath;
    std::unique_ptr<PortalSession> session;
    QList<BoundShortcut> bound;

    void activate(const QString &sessionHandle, const QString &id)
    {
        QDBusMessage signal = QDBusMessage::createSignal(PortalPath, ShortcutsInterface, u"Activated"_s);
        signal << QVariant::fromValue(QDBusObjectPath(sessionHandle)) << id << qulonglong(1) << QVariantMap();
        m_bus.send(signal);
    }

public Q_SLOTS:

    QDBusObjectPath CreateSession(const QVariantMap &options)
    {
        if (m_mode == Mode::RefuseSession) {
            sendErrorReply(QDBusError::AccessDenied, u"no application id"_s);
            return {};
        }
        sessionPath = path(u"session"_s, options.value(u"session_handle_token"_s).toString());
        session = std::make_unique<PortalSession>();
        m_bus.registerObject(sessionPath, session.get(), QDBusConnection::ExportAllSlots);
        return respond(options, 0, { { u"session_handle"_s, sessionPath } });
    }

    QDBusObjectPath BindShortcuts(const QDBusObjectPath &handle,
                                  const QList<BoundShortcut> &shortcuts,
                                  const QString &parentWindow,
                                  const QVariantMap &options)
    {
        Q_UNUSED(parentWindow);
        if (handle.path() != sessionPath)
            return respond(options, 2, {});
        bound = shortcuts;
        return respond(options, m_mode == Mode::CancelBind ? 1 : 0, {});
    }

private:
    QString path(const QString &kind, const QString &token) const
    {
        QString sender = message().service().mid(1);
        sender.replace(u'.', u'_');
        return PortalPath + u'/' + kind + u'/' + sender + u'/' + token;
    }

    QDBusObjectPath respond(const QVariantMap &options, uint code, const QVariantMap &results)
    {
        const QString request = path(u"request"_s, options.value(u"handle_token"_s).toString());
        QTimer::singleShot(0, this, [this, request, code, results] {
            QDBusMessage response
                = QDBusMessage::createSignal(request, u"org.freedesktop.portal.Request"_s, u"Response"_s);
            response << code << results;
            m_bus.send(response);
        });
        return QDBusObjectPath(request);
    }

    QDBusConnection m_bus;
    Mode m_mode;
};

class DesktopHotkeyServiceTest : public QObject
{
    Q_OBJECT

private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void portalTrigger_data();
    void portalTrigger();
    void portalBindsAndReportsPresses();
    void portalFailure_data();
    void portalFailure();
    void withoutPortal();
    void x11GrabReportsPresses();
    void x11GrabTakenByAnotherClient();
    void selectedFiles_data();
    void selectedFiles();

private:
    static void waitDetected(DesktopHotkeyService &service)
    {
        QSignalSpy detected(&service, &DesktopHotkeyService::availabilityChanged);
        if (service.mechanism() == DesktopHotkeyService::Mechanism::Detecting)
            QVERIFY(detected.wait());
    }

    // Applies the setting and gives whether the shortcut ended up registered.
    static bool applied(DesktopHotkeyService &service, bool enabled, std::optional<KeyboardShortcut> shortcut)
    {
        QSignalSpy finished(&service, &DesktopHotkeyService::setupFinished);
        service.setup(enabled, shortcut);
        if (finished.isEmpty() && !finished.wait())
            return false;
        return finished.last().at(0).toBool();
    }

    static void press(const QString &keys) { QCOMPARE(QProcess::execute(u"xdotool"_s, { u"key"_s, keys }), 0); }
};

void DesktopHotkeyServiceTest::portalTrigger_data()
{
    QTest::addColumn<quint32>("keyCode");
    QTest::addColumn<quint32>("modifiers");
    QTest::addColumn<QString>("expected");

    using K = KeyboardShortcut;
    QTest::newRow("ctrl-shift-r") << 15u << (K::CommandModifier | K::ShiftModifier) << u"CTRL+SHIFT+r"_s;
    QTest::newRow("every-modifier") << 96u
                                    << (K::ControlModifier | K::OptionModifier | K::ShiftModifier | K::CommandModifier)
                                    << u"CTRL+ALT+SHIFT+LOGO+F5"_s;
    QTest::newRow("keysym-names") << 116u << K::OptionModifier << u"ALT+Prior"_s;
    QTest::newRow("unknown-key-has-none") << 200u << K::CommandModifier << QString();
}

void DesktopHotkeyServiceTest::portalTrigger()
{
    QFETCH(quint32, keyCode);
    QFETCH(quint32, modifiers);
    QFETCH(QString, expected);

    QCOMPARE(PortalGlobalShortcut::trigger(KeyboardShortcut { keyCode, modifiers }), expected);
}

// Where the portal offers global shortcuts it wins over the X server; the
// press of the bound shortcut in this session is the only one that counts,
// and turning the hotkey off closes the session.
void DesktopHotkeyServiceTest::portalBindsAndReportsPresses()
{
    FakePortal portal(FakePortal::Mode::Accept);
    DesktopHotkeyService service;
    waitDetected(service);
    QCOMPARE(service.mechanism(), DesktopHotkeyService::Mechanism::Portal);
    QVERIFY(service.isAvailable());

    QTest::ignoreMessage(QtInfoMsg, "Hotkey registered: Ctrl+Shift+R");
    QVERIFY(applied(service, true, CtrlShiftR));
    QCOMPARE(portal.bound.size(), 1);
    QCOMPARE(portal.bound.first().id, u"quick-rename"_s);
    QCOMPARE(portal.bound.first().properties.value(u"preferred_trigger"_s).toString(), u"CTRL+SHIFT+r"_s);
    QVERIFY(!portal.bound.first().properties.value(u"description"_s).toString().isEmpty());

    QSignalSpy pressed(&service, &HotkeyService::hotkeyPressed);
    portal.activate(portal.sessionPath, u"other"_s);
    portal.activate(portal.sessionPath + u"x"_s, u"quick-rename"_s);
    portal.activate(portal.sessionPath, u"quick-rename"_s);
    QVERIFY(pressed.wait());
    QTest::qWait(50);
    QCOMPARE(pressed.size(), 1);

    PortalSession *session = portal.session.get();
    QVERIFY(!applied(service, false, CtrlShiftR));
    QTRY_VERIFY(session->closed);
    portal.activate(portal.sessionPath, u"quick-rename"_s);
    QTest::qWait(100);
    QCOMPARE(pressed.size(), 1);
}

void DesktopHotkeyServiceTest::portalFailure_data()
{
    QTest::addColumn<FakePortal::Mode>("mode");
    QTest::addColumn<DesktopHotkeyService::Mechanism>("mechanism");
    QTest::addColumn<bool>("registered");

    using M = DesktopHotkeyService::Mechanism;
    // Without a session the X server takes over, and with none the setting
    // is unavailable.
    QTest::newRow("no-session") << FakePortal::Mode::RefuseSession << (isX11() ? M::X11 : M::None) << isX11();
    // A user who declines the shortcut keeps the portal.
    QTest::newRow("bind-cancelled") << FakePortal::Mode::CancelBind << M::Portal << false;
}

void DesktopHotkeyServiceTest::portalFailure()
{
    QFETCH(FakePortal::Mode, mode);
    QFETCH(DesktopHotkeyService::Mechanism, mechanism);
    QFETCH(bool, registered);

    FakePortal portal(mode);
    DesktopHotkeyService service;
    waitDetected(service);
    if (!registered)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Failed to register hotkey: "_s));
    QCOMPARE(applied(service, true, CtrlShiftR), registered);
    QCOMPARE(service.mechanism(), mechanism);
    QCOMPARE(service.isAvailable(), mechanism != DesktopHotkeyService::Mechanism::None);
    QCOMPARE(service.unavailableReason().isEmpty(), service.isAvailable());
}

void DesktopHotkeyServiceTest::withoutPortal()
{
    DesktopHotkeyService service;
    waitDetected(service);
    if (isX11()) {
        QCOMPARE(service.mechanism(), DesktopHotkeyService::Mechanism::X11);
        return;
    }
    QCOMPARE(service.mechanism(), DesktopHotkeyService::Mechanism::None);
    QVERIFY(!service.isAvailable());
    QVERIFY(service.unavailableReason().contains(u"no global shortcuts"_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Failed to register hotkey: This desktop"_s));
    QVERIFY(!applied(service, true, CtrlShiftR));
}

// The grabbed combination fires with CapsLock on as well, other
// combinations do not, and turning the hotkey off ungrabs it.
void DesktopHotkeyServiceTest::x11GrabReportsPresses()
{
    if (!isX11())
        QSKIP("needs an X server (runs as gui.desktophotkeyservice.x11 under xvfb-run)");
    if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
        QSKIP("xdotool is missing; run scripts/install-deps.sh");
    DesktopHotkeyService service;
    waitDetected(service);
    QCOMPARE(service.mechanism(), DesktopHotkeyService::Mechanism::X11);

    QTest::ignoreMessage(QtInfoMsg, "Hotkey registered: Ctrl+Shift+R");
    QVERIFY(applied(service, true, CtrlShiftR));
    QSignalSpy pressed(&service, &HotkeyService::hotkeyPressed);
    press(u"ctrl+shift+r"_s);
    QVERIFY(pressed.wait());
    QCOMPARE(pressed.size(), 1);

    press(u"Caps_Lock"_s);
    press(u"ctrl+shift+r"_s);
    press(u"Caps_Lock"_s);
    QTRY_COMPARE(pressed.size(), 2);

    press(u"ctrl+r"_s);
    press(u"ctrl+alt+shift+r"_s);
    QTest::qWait(200);
    QCOMPARE(pressed.size(), 2);

    QVERIFY(!applied(service, false, std::nullopt));
    press(u"ctrl+shift+r"_s);
    QTest::qWait(200);
    QCOMPARE(pressed.size(), 2);
}

// A combination another X client holds is reported, not silently lost.
void DesktopHotkeyServiceTest::x11GrabTakenByAnotherClient()
{
    if (!isX11())
        QSKIP("needs an X server (runs as gui.desktophotkeyservice.x11 under xvfb-run)");
    xcb_connection_t *other = xcb_connect(nullptr, nullptr);
    QVERIFY(!xcb_connection_has_error(other));
    const xcb_setup_t *setup = xcb_get_setup(other);
    const xcb_window_t root = xcb_setup_roots_iterator(setup).data->root;
    // F12 with Ctrl, by its keycode in the server's map.
    auto *mapping = xcb_get_keyboard_mapping_reply(
        other,
        xcb_get_keyboard_mapping(other, setup->min_keycode, quint8(setup->max_keycode - setup->min_keycode + 1)),
        nullptr);
    QVERIFY(mapping);
    const xcb_keysym_t *syms = xcb_get_keyboard_mapping_keysyms(mapping);
    xcb_keycode_t f12 = 0;
    for (int i = 0; i < xcb_get_keyboard_mapping_keysyms_length(mapping) && f12 == 0; ++i) {
        if (syms[i] == 0xffc9)
            f12 = xcb_keycode_t(setup->min_keycode + i / mapping->keysyms_per_keycode);
    }
    std::free(mapping);
    QVERIFY(f12 != 0);
    xcb_grab_key(other, 1, root, XCB_MOD_MASK_CONTROL, f12, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    // A round trip, so that the grab is in place before the service tries.
    std::free(xcb_get_input_focus_reply(other, xcb_get_input_focus(other), nullptr));

    DesktopHotkeyService service;
    waitDetected(service);
    QTest::ignoreMessage(QtWarningMsg, "Failed to register hotkey: another application already uses Ctrl+F12");
    QVERIFY(!applied(service, true, KeyboardShortcut { 111, KeyboardShortcut::CommandModifier }));
    xcb_disconnect(other);

    // Once the server has let the other client go, the combination is free.
    QTest::ignoreMessage(QtInfoMsg, "Hotkey registered: Ctrl+F12");
    bool registered = false;
    for (int attempt = 0; attempt < 40 && !registered; ++attempt) {
        QTest::qWait(50);
        registered = applied(service, true, KeyboardShortcut { 111, KeyboardShortcut::CommandModifier });
    }
    QVERIFY(registered);
}

void DesktopHotkeyServiceTest::selectedFiles_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("expected");

    const QString uriList = u"text/uri-list"_s;
    QTest::newRow("files-in-order") << uriList << "file:///home/u/b.pdf\r\nfile:///home/u/a.png\r\n"_ba
                                    << QStringList { u"/home/u/b.pdf"_s, u"/home/u/a.png"_s };
    QTest::newRow("duplicates-dropped") << uriList
                                        << "file:///tmp/a.pdf\r\nfile:///tmp/x/../a.pdf\r\nfile:///tmp/b.pdf\r\n"_ba
                                        << QStringList { u"/tmp/a.pdf"_s, u"/tmp/b.pdf"_s };
    QTest::newRow("encoded-names-decoded")
        << uriList << "file:///tmp/Tax%20Return%20%C3%A9.pdf\n"_ba << QStringList { u"/tmp/Tax Return \u00e9.pdf"_s };
    QTest::newRow("comments-and-blank-lines")
        << uriList << "# copied\r\n\r\nfile:///tmp/a.pdf\r\n"_ba << QStringList { u"/tmp/a.pdf"_s };
    QTest::newRow("localhost-is-local") << uriList << "file://localhost/tmp/a.pdf\r\n"_ba
                                        << QStringList { u"/tmp/a.pdf"_s };
    QTest::newRow("only-non-file-urls")
        << uriList << "https://example.com/a.pdf\r\nsmb://server/share/b.pdf\r\nfile://otherhost/c.pdf\r\n"_ba
        << QStringList();
    QTest::newRow("mixed-keeps-files") << uriList << "https://example.com/a.pdf\r\nfile:///tmp/b.pdf\r\n"_ba
                                       << QStringList { u"/tmp/b.pdf"_s };
    QTest::newRow("gnome-copied-files") << u"x-special/gnome-copied-files"_s
                                        << "copy\nfile:///tmp/a.pdf\nfile:///tmp/b.pdf"_ba
                                        << QStringList { u"/tmp/a.pdf"_s, u"/tmp/b.pdf"_s };
    QTest::newRow("plain-text-is-not-a-selection") << u"text/plain"_s << "/tmp/a.pdf"_ba << QStringList();
    QTest::newRow("nothing-copied") << QString() << QByteArray() << QStringList();
}

void DesktopHotkeyServiceTest::selectedFiles()
{
    QFETCH(QString, format);
    QFETCH(QByteArray, content);
    QFETCH(QStringList, expected);

    QClipboard *clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    if (!format.isEmpty()) {
        auto *data = new QMimeData;
        data->setData(format, content);
        clipboard->setMimeData(data);
    }
    DesktopHotkeyService service;
    QCOMPARE(QCoro::waitFor(service.selectedFiles()), expected);
    waitDetected(service);
}

QTEST_MAIN(DesktopHotkeyServiceTest)
#include "desktophotkeyservicetest.moc"
