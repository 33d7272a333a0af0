#include "gui/hotkeysettingsbox.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QPointer>
#include <QSignalBlocker>

#include "app/hotkeyservice.h"
#include "app/hotkeyviewmodel.h"
#include "app/settingsviewmodel.h"

namespace Nomly {

namespace {

QKeySequence sequenceOf(const std::optional<KeyboardShortcut> &shortcut)
{
    if (!shortcut)
        return {};
    const std::optional<ShortcutKey> key = shortcutKey(shortcut->keyCode);
    if (!key)
        return {};
    return QKeySequence(QKeyCombination(qtModifiers(shortcut->modifiers), Qt::Key(key->qtKey)));
}

} // namespace

HotkeySettingsBox::HotkeySettingsBox(SettingsViewModel &model,
                                     HotkeyViewModel &hotkey,
                                     HotkeyService *service,
                                     QWidget *parent)
    : QGroupBox(tr("Quick rename"), parent)
    , m_model(model)
    , m_hotkey(hotkey)
    , m_service(service)
{
    m_enabled = new QCheckBox(tr("Rename the files copied in the file manager with a shortcut"), this);
    m_enabled->setObjectName(QStringLiteral("hotkeyEnabled"));
    m_keys = new QKeySequenceEdit(this);
    m_keys->setObjectName(QStringLiteral("hotkeyShortcut"));
    m_state = new QLabel(this);
    m_state->setObjectName(QStringLiteral("hotkeyState"));
    m_state->setWordWrap(true);

    auto *form = new QFormLayout(this);
    form->addRow(QString(), m_enabled);
    form->addRow(tr("Shortcut"), m_keys);
    form->addRow(QString(), m_state);

    connect(m_enabled, &QCheckBox::toggled, this, [this](bool on) {
        QCoro::connect(store(on, m_model.settings().hotkeyShortcut), this, [] {});
    });
    connect(m_keys, &QKeySequenceEdit::editingFinished, this, [this] {
        const QKeySequence sequence = m_keys->keySequence();
        if (sequence.isEmpty()) {
            refresh();
            return;
        }
        const QKeyCombination combination = sequence[0];
        const std::optional<KeyboardShortcut> shortcut
            = keyboardShortcutFromQt(int(combination.key()), combination.keyboardModifiers());
        if (!shortcut || shortcut->modifiers == 0) {
            m_state->setText(tr("Choose a key together with Ctrl, Alt or Super."));
            return;
        }
        QCoro::connect(store(m_model.settings().hotkeyEnabled, shortcut), this, [] {});
    });
    connect(&m_model, &SettingsViewModel::settingsChanged, this, &HotkeySettingsBox::refresh);
    if (m_service)
        connect(m_service, &HotkeyService::availabilityChanged, this, &HotkeySettingsBox::refresh);
    refresh();
}

void HotkeySettingsBox::refresh()
{
    const Settings &settings = m_model.settings();
    const bool available = m_service && m_service->isAvailable();
    const QSignalBlocker blocker(m_enabled);
    m_enabled->setChecked(settings.hotkeyEnabled);
    m_enabled->setEnabled(available);
    if (!m_keys->hasFocus())
        m_keys->setKeySequence(sequenceOf(settings.hotkeyShortcut));
    m_keys->setEnabled(available && settings.hotkeyEnabled);
    if (!available) {
        m_state->setText(m_service ? m_service->unavailableReason()
                                   : tr("Global shortcuts are not available in this session."));
    } else {
        m_state->setText(
            tr("Copy files in your file manager, then press %1.")
                .arg(settings.hotkeyShortcut ? displayText(*settings.hotkeyShortcut) : tr("the shortcut")));
    }
}

QCoro::Task<> HotkeySettingsBox::store(bool enabled, std::optional<KeyboardShortcut> shortcut)
{
    Settings settings = m_model.settings();
    settings.hotkeyEnabled = enabled;
    settings.hotkeyShortcut = shortcut;
    m_model.setSettings(settings);
    const QPointer<HotkeySettingsBox> self(this);
    auto saving = m_model.saveSettings();
    co_await saving;
    if (!self)
        co_return;
    m_hotkey.registerHotkey();
}

} // namespace Nomly
