#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>

#include "gui/aisetuptab.h"

class QLabel;
class QPushButton;
class QStackedWidget;

namespace Nomly {

class SettingsViewModel;

// The first-run guide: what Nomly does, the agreement to AI processing, the
// AI route (hosted, an own key with its test, Ollama with its discovery, an
// own server), then a first folder to watch or files to rename. Each step
// can be skipped; closing the window leaves the guide where it was, and the
// tray's "Finish Setup..." brings it back there until the last step is done.
class WelcomeWindow final : public QWidget
{
    Q_OBJECT

public:
    enum class Step
    {
        Welcome,
        Consent,
        Route,
        Start,
    };
    Q_ENUM(Step)

    static constexpr int MinimumWidth = 640;
    static constexpr int MinimumHeight = 560;

    using FolderPicker = std::function<QString(QWidget *parent)>;

    WelcomeWindow(SettingsViewModel &model,
                  KeyCustody *custody,
                  AISetupTab::KeySyncSource keySync,
                  QWidget *parent = nullptr);

    void present();

    Step step() const;
    void goTo(Step step);

    AISetupTab *routeTab() const { return m_route; }

    // Tests answer the folder dialog.
    void setFolderPicker(FolderPicker picker) { m_pickFolder = std::move(picker); }

    void setAlertPresenter(AlertPresenter presenter);

    // What the last step chose: the folder now watched, files to rename.
    QString chosenFolder() const { return m_folder; }

    QStringList chosenFiles() const { return m_files; }

Q_SIGNALS:
    // The user agreed to AI processing on the consent step.
    void consentAgreed();
    // The last step is done.
    void completed();

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    QWidget *welcomePage();
    QWidget *consentPage();
    QWidget *routePage();
    QWidget *startPage();
    QCoro::Task<> watchFolder();
    void next();
    void showChoice();

    SettingsViewModel &m_model;
    QStackedWidget *m_pages = nullptr;
    AISetupTab *m_route = nullptr;
    QLabel *m_choice = nullptr;
    FolderPicker m_pickFolder;
    AlertPresenter m_presentAlert;
    QString m_folder;
    QStringList m_files;
};

} // namespace Nomly
