#pragma once

#include <QObject>
#include <QStringList>
#include <optional>

#include <qcoro/qcorotask.h>

#include "settings/keyboardshortcut.h"

namespace Nomly {

// The global shortcut of quick rename and the selection it acts on. The
// desktop face provides the implementation; the core only registers and
// listens.
class HotkeyService : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // Registers the shortcut when enabled and present; removes any earlier
    // registration otherwise.
    virtual void setup(bool enabled, std::optional<KeyboardShortcut> shortcut) = 0;
    // False when this desktop offers no way to register a global shortcut;
    // `unavailableReason()` says why, for the settings.
    virtual bool isAvailable() const = 0;
    virtual QString unavailableReason() const = 0;
    // The files the user selected in the file manager, as absolute paths;
    // empty when none or after 5 seconds.
    virtual QCoro::Task<QStringList> selectedFiles() = 0;

Q_SIGNALS:
    void hotkeyPressed();
    // `isAvailable()` may change once the desktop has been asked.
    void availabilityChanged();
};

} // namespace Nomly
