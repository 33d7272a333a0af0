#pragma once

#include <QObject>

class QMenu;
class QSystemTrayIcon;

namespace Nomly {

// The program's place in the system tray, with its menu. Only made where the
// desktop has a tray.
class TrayIcon final : public QObject
{
    Q_OBJECT

public:
    explicit TrayIcon(QObject *parent = nullptr);
    ~TrayIcon() override;

    QMenu *menu() const { return m_menu; }

    void show();

Q_SIGNALS:
    void openRequested();
    void quitRequested();

private:
    QMenu *m_menu = nullptr;
    QSystemTrayIcon *m_icon = nullptr;
};

} // namespace Nomly
