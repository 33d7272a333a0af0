#pragma once

#include <QWidget>
#include <functional>

#include <qcoro/qcorotask.h>

#include "app/keycheckcooldown.h"
#include "gui/alertbox.h"
#include "settings/aiprovider.h"
#include "settings/settings.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QNetworkAccessManager;
class QPushButton;
class QTimer;

namespace Nomly {

class KeyCustody;
class KeySync;
class SettingsViewModel;

// Where the AI runs: off, the hosted service (with or without the user's own
// provider key) or a local server. A key typed here is tried with its
// provider through the key sync, then kept in the desktop's secret store;
// the tab never shows a stored key back.
class AISetupTab final : public QWidget
{
    Q_OBJECT

public:
    // The key sync of the AI route, opened when first asked for; null, with
    // why, when the route cannot be opened.
    using KeySyncSource = std::function<KeySync *(QString *error)>;

    // Without custody there is nowhere to keep a key, and its controls stay
    // disabled.
    AISetupTab(SettingsViewModel &model, KeyCustody *custody, KeySyncSource keySync, QWidget *parent = nullptr);

    // A group of related settings below the AI's own, such as the quick
    // rename shortcut.
    void addSection(QWidget *section);

    void setAlertPresenter(AlertPresenter presenter) { m_presentAlert = std::move(presenter); }

    QCoro::Task<> saveKey();
    // Tells the backend the key is gone, then forgets it here even when the
    // backend can't be told. The button asks first.
    QCoro::Task<> removeKey();
    // Tries the stored key with the provider, then lists the models it can
    // use in the model picker.
    QCoro::Task<> testKey();
    // Asks the local endpoint for its models.
    QCoro::Task<> refreshOllama();
    // Switches to the local route when Ollama answers with a model, else
    // says why not and stays where it was.
    QCoro::Task<> enableLocal();

private:
    void refresh();
    // The wait after a rate limit, counted down in the status row; true
    // while a check must wait.
    bool refusedByCooldown();
    void noteFailure(const QString &text, bool rateLimited = false);
    QString summary(const Settings &settings) const;
    QCoro::Task<> confirmRemoveKey();
    // Keeps the choice, tells the backend, and lists the new provider's
    // models where it can be asked.
    QCoro::Task<> changeProvider(AIProvider provider);
    // Keeps the model chosen for the provider and tells the backend.
    QCoro::Task<> changeModel(AIProvider provider, QString id);
    // Keeps the address of the user's own server and tries it.
    QCoro::Task<> useServer(QString address);
    // Applies one change to the settings and writes them.
    QCoro::Task<> change(std::function<void(Settings &)> edit);
    AIProvider selectedProvider() const;

    SettingsViewModel &m_model;
    KeyCustody *m_custody = nullptr;
    KeySyncSource m_keySync;
    QComboBox *m_mode = nullptr;
    QComboBox *m_provider = nullptr;
    QCheckBox *m_byok = nullptr;
    QLineEdit *m_key = nullptr;
    QPushButton *m_saveKey = nullptr;
    QPushButton *m_removeKey = nullptr;
    QLabel *m_keyState = nullptr;
    QLineEdit *m_endpoint = nullptr;
    QLineEdit *m_localModel = nullptr;
    QNetworkAccessManager *m_network = nullptr;
    QPushButton *m_testKey = nullptr;
    QLabel *m_connection = nullptr;
    QComboBox *m_byokModel = nullptr;
    QPushButton *m_refreshOllama = nullptr;
    QLabel *m_ollamaState = nullptr;
    QLineEdit *m_serverUrl = nullptr;
    QLabel *m_summary = nullptr;
    QTimer *m_cooldownTicker = nullptr;
    KeyCheckCooldown m_cooldown;
    AlertPresenter m_presentAlert;
};

} // namespace Nomly
