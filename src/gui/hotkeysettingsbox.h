#pragma once

#include <QGroupBox>
#include <optional>

#include <qcoro/qcorotask.h>

#include "settings/keyboardshortcut.h"

class QCheckBox;
class QKeySequenceEdit;
class QLabel;

namespace Nomly {

class HotkeyService;
class HotkeyViewModel;
class SettingsViewModel;

// The quick rename shortcut: on or off, which keys, and whether this desktop
// lets an application have a global shortcut at all. A change is saved and
// registered at once.
class HotkeySettingsBox final : public QGroupBox
{
    Q_OBJECT

public:
    // Without a service the box says that no shortcut can be registered.
    HotkeySettingsBox(SettingsViewModel &model,
                      HotkeyViewModel &hotkey,
                      HotkeyService *service,
                      QWidget *parent = nullptr);

private:
    void refresh();
    QCoro::Task<> store(bool enabled, std::optional<KeyboardShortcut> shortcut);

    SettingsViewModel &m_model;
    HotkeyViewModel &m_hotkey;
    HotkeyService *m_service = nullptr;
    QCheckBox *m_enabled = nullptr;
    QKeySequenceEdit *m_keys = nullptr;
    QLabel *m_state = nullptr;
};

} // namespace Nomly
