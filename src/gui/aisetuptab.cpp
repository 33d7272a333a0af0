#include "gui/aisetuptab.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <array>
#include <utility>

#include "ai/cloudaiprobeservice.h"
#include "ai/cloudproviderendpoint.h"
#include "ai/keycustody.h"
#include "ai/keysync.h"
#include "ai/localollamaservice.h"
#include "ai/secretstores.h"
#include "app/settingsviewmodel.h"
#include "gui/launch.h"
#include "platform/logcategories.h"
#include "settings/serveraddress.h"

namespace Nomly {

namespace {

struct ModeChoice
{
    AIProcessingMode mode;
    const char *title;
};

constexpr std::array ModeChoices {
    ModeChoice { AIProcessingMode::Cloud, "Cloud" },
    ModeChoice { AIProcessingMode::Local, "Local (Ollama)" },
    ModeChoice { AIProcessingMode::Off, "Off" },
};

struct ProviderChoice
{
    AIProvider provider;
    const char *title;
};

constexpr std::array ProviderChoices {
    ProviderChoice { AIProvider::Gemini, "Gemini" },
    ProviderChoice { AIProvider::OpenAI, "OpenAI" },
    ProviderChoice { AIProvider::Claude, "Claude" },
    ProviderChoice { AIProvider::Groq, "Groq" },
    ProviderChoice { AIProvider::OpenAICompatible, "OpenAI-compatible server" },
};

void selectData(QComboBox *box, int value)
{
    box->setCurrentIndex(std::max(0, box->findData(value)));
}

} // namespace

AISetupTab::AISetupTab(SettingsViewModel &model, KeyCustody *custody, KeySyncSource keySync, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_custody(custody)
    , m_keySync(std::move(keySync))
    , m_presentAlert(messageBoxPresenter(this))
{
    m_mode = new QComboBox(this);
    m_mode->setObjectName(QStringLiteral("processingMode"));
    for (const ModeChoice &choice : ModeChoices)
        m_mode->addItem(tr(choice.title), static_cast<int>(choice.mode));
    m_provider = new QComboBox(this);
    m_provider->setObjectName(QStringLiteral("provider"));
    for (const ProviderChoice &choice : ProviderChoices)
        m_provider->addItem(tr(choice.title), static_cast<int>(choice.provider));
    m_byok = new QCheckBox(tr("Use my own API key"), this);
    m_byok->setObjectName(QStringLiteral("byokEnabled"));

    m_key = new QLineEdit(this);
    m_key->setObjectName(QStringLiteral("apiKey"));
    m_key->setEchoMode(QLineEdit::Password);
    m_key->setPlaceholderText(tr("Paste a key to store it"));
    m_saveKey = new QPushButton(tr("Save Key"), this);
    m_saveKey->setObjectName(QStringLiteral("saveKey"));
    m_removeKey = new QPushButton(tr("Remove Key"), this);
    m_removeKey->setObjectName(QStringLiteral("removeKey"));
    m_keyState = new QLabel(this);
    m_keyState->setObjectName(QStringLiteral("keyState"));
    // Asked once: whether a key typed here goes to the desktop's keyring or
    // to the file that stands in for it.
    auto *storage = new QLabel(this);
    storage->setObjectName(QStringLiteral("keyStorage"));
    storage->setWordWrap(true);
    storage->setVisible(m_custody && !secretServiceAvailable());
    storage->setText(tr("No Secret Service answers on this session; keys are kept in a file only you can read."));

    m_endpoint = new QLineEdit(this);
    m_endpoint->setObjectName(QStringLiteral("localEndpoint"));
    m_localModel = new QLineEdit(this);
    m_localModel->setObjectName(QStringLiteral("localModel"));

    m_network = new QNetworkAccessManager(this);
    m_testKey = new QPushButton(tr("Test"), this);
    m_testKey->setObjectName(QStringLiteral("testKey"));
    m_connection = new QLabel(AIConnectionStatus().text(), this);
    m_connection->setObjectName(QStringLiteral("connectionStatus"));
    m_connection->setWordWrap(true);
    m_byokModel = new QComboBox(this);
    m_byokModel->setObjectName(QStringLiteral("byokModel"));
    m_refreshOllama = new QPushButton(tr("Refresh"), this);
    m_refreshOllama->setObjectName(QStringLiteral("refreshOllama"));
    m_refreshOllama->setToolTip(tr("Refresh installed models from Ollama"));
    m_ollamaState = new QLabel(this);
    m_ollamaState->setObjectName(QStringLiteral("ollamaState"));
    m_ollamaState->setWordWrap(true);
    m_serverUrl = new QLineEdit(this);
    m_serverUrl->setObjectName(QStringLiteral("serverUrl"));
    m_serverUrl->setPlaceholderText(QStringLiteral("http://127.0.0.1:1234/v1"));
    m_serverUrl->setToolTip(tr("LM Studio, vLLM, llama.cpp's server, LocalAI or any server with OpenAI's API"));
    m_summary = new QLabel(this);
    m_summary->setObjectName(QStringLiteral("aiSummary"));
    m_summary->setWordWrap(true);
    m_cooldownTicker = new QTimer(this);
    m_cooldownTicker->setInterval(std::chrono::seconds(1));

    auto *keyRow = new QHBoxLayout;
    keyRow->addWidget(m_key, 1);
    keyRow->addWidget(m_saveKey);
    keyRow->addWidget(m_removeKey);

    auto *form = new QFormLayout;
    form->addRow(tr("AI processing"), m_mode);
    form->addRow(tr("Provider"), m_provider);
    form->addRow(tr("Server address"), m_serverUrl);
    form->addRow(QString(), m_byok);
    form->addRow(tr("API key"), keyRow);
    form->addRow(QString(), m_keyState);
    form->addRow(QString(), storage);
    auto *testRow = new QHBoxLayout;
    testRow->addWidget(m_connection, 1);
    testRow->addWidget(m_testKey);
    form->addRow(tr("Connection"), testRow);
    form->addRow(tr("Model"), m_byokModel);
    form->addRow(tr("Local endpoint"), m_endpoint);
    auto *localRow = new QHBoxLayout;
    localRow->addWidget(m_localModel, 1);
    localRow->addWidget(m_refreshOllama);
    form->addRow(tr("Local model"), localRow);
    form->addRow(QString(), m_ollamaState);
    form->addRow(QString(), m_summary);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch(1);

    connect(m_mode, &QComboBox::activated, this, [this] {
        const auto mode = static_cast<AIProcessingMode>(m_mode->currentData().toInt());
        if (mode == AIProcessingMode::Local && m_model.settings().aiProcessingMode != AIProcessingMode::Local) {
            launch(enableLocal());
            return;
        }
        launch(change([mode](Settings &settings) { settings.aiProcessingMode = mode; }));
    });
    connect(m_provider, &QComboBox::activated, this, [this] { launch(changeProvider(selectedProvider())); });
    connect(m_byok, &QCheckBox::toggled, this, [this](bool on) {
        if (on && !m_model.settings().hasApiKey(m_model.settings().aiProvider)) {
            m_keyState->setText(tr("Save an API key before enabling BYOK."));
            refresh();
            return;
        }
        launch(change([on](Settings &settings) { settings.byokEnabled = on; }));
    });
    connect(m_serverUrl, &QLineEdit::editingFinished, this, [this] {
        const QString address = m_serverUrl->text().trimmed();
        if (address == m_model.settings().openaiCompatibleBaseUrl)
            return;
        if (!address.isEmpty() && !isServerAddress(address)) {
            m_connection->setText(tr("Write the server's address, such as http://127.0.0.1:1234/v1"));
            return;
        }
        launch(useServer(address));
    });
    connect(m_cooldownTicker, &QTimer::timeout, this, [this] {
        if (!refusedByCooldown())
            m_connection->setText(AIConnectionStatus().text());
    });
    connect(m_endpoint, &QLineEdit::editingFinished, this, [this] {
        const QString endpoint = m_endpoint->text().trimmed();
        if (endpoint.isEmpty() || endpoint == m_model.settings().localAIEndpoint) {
            m_endpoint->setText(m_model.settings().localAIEndpoint);
            return;
        }
        launch(change([endpoint](Settings &settings) { settings.localAIEndpoint = endpoint; }));
    });
    connect(m_localModel, &QLineEdit::editingFinished, this, [this] {
        const QString name = m_localModel->text().trimmed();
        if (name.isEmpty() || name == m_model.settings().localAIModel) {
            m_localModel->setText(m_model.settings().localAIModel);
            return;
        }
        launch(change([name](Settings &settings) { settings.localAIModel = name; }));
    });
    connect(m_testKey, &QPushButton::clicked, this, [this] { launch(testKey()); });
    connect(m_refreshOllama, &QPushButton::clicked, this, [this] { launch(refreshOllama()); });
    connect(m_byokModel, &QComboBox::activated, this, [this] {
        launch(changeModel(selectedProvider(), m_byokModel->currentData().toString()));
    });
    connect(m_key, &QLineEdit::textChanged, this, &AISetupTab::refresh);
    connect(m_key, &QLineEdit::returnPressed, this, [this] { launch(saveKey()); });
    connect(m_saveKey, &QPushButton::clicked, this, [this] { launch(saveKey()); });
    connect(m_removeKey, &QPushButton::clicked, this, [this] { launch(confirmRemoveKey()); });
    connect(&m_model, &SettingsViewModel::settingsChanged, this, &AISetupTab::refresh);
    refresh();
}

void AISetupTab::refresh()
{
    const Settings &settings = m_model.settings();
    const QSignalBlocker modeBlocker(m_mode);
    const QSignalBlocker providerBlocker(m_provider);
    const QSignalBlocker byokBlocker(m_byok);
    selectData(m_mode, static_cast<int>(settings.aiProcessingMode));
    selectData(m_provider, static_cast<int>(settings.aiProvider));
    m_byok->setChecked(settings.byokEnabled);
    if (!m_endpoint->hasFocus())
        m_endpoint->setText(settings.localAIEndpoint);
    if (!m_localModel->hasFocus())
        m_localModel->setText(settings.localAIModel);

    if (!m_serverUrl->hasFocus())
        m_serverUrl->setText(settings.openaiCompatibleBaseUrl);

    const bool cloud = settings.aiProcessingMode == AIProcessingMode::Cloud;
    const bool local = settings.aiProcessingMode == AIProcessingMode::Local;
    const bool stored = settings.hasApiKey(settings.aiProvider);
    // The user's own server needs an address rather than a key, and has
    // no hosted service to fall back to.
    const bool ownServer = settings.aiProvider == AIProvider::OpenAICompatible;
    const bool reachable = ownServer ? !settings.openaiCompatibleBaseUrl.isEmpty() : stored;
    m_provider->setEnabled(cloud);
    m_serverUrl->setVisible(ownServer);
    m_serverUrl->setEnabled(cloud);
    m_byok->setVisible(!ownServer);
    m_byok->setEnabled(cloud);
    m_key->setEnabled(cloud && m_custody);
    m_saveKey->setEnabled(cloud && m_custody && !m_key->text().trimmed().isEmpty());
    m_removeKey->setEnabled(cloud && m_custody && stored);
    m_keyState->setText(!m_custody   ? tr("No secret store is available on this desktop.")
                            : stored ? tr("A key for %1 is stored.").arg(m_provider->currentText())
                                     : tr("No key for %1 is stored.").arg(m_provider->currentText()));
    m_testKey->setEnabled(cloud && (m_custody || ownServer) && reachable);
    m_byokModel->setEnabled(cloud && reachable);
    m_summary->setText(summary(settings));
    m_endpoint->setEnabled(local);
    m_localModel->setEnabled(local);
    m_refreshOllama->setEnabled(local);

    // The picker keeps the saved choice even before a list came, and
    // "Default" stands for none.
    const QSignalBlocker modelBlocker(m_byokModel);
    const std::optional<QString> chosen = settings.byokModel(settings.aiProvider);
    if (m_byokModel->count() == 0)
        m_byokModel->addItem(tr("Default"), QString());
    if (chosen && m_byokModel->findData(*chosen) < 0)
        m_byokModel->addItem(*chosen, *chosen);
    m_byokModel->setCurrentIndex(std::max(0, m_byokModel->findData(chosen.value_or(QString()))));
}

QString AISetupTab::summary(const Settings &settings) const
{
    if (settings.aiProcessingMode != AIProcessingMode::Cloud)
        return {};
    if (const std::optional<AIProvider> own = settings.ownProvider()) {
        if (*own == AIProvider::OpenAICompatible) {
            // The server names no model of its own: without one every
            // rename would fail.
            if (!settings.byokModel(*own))
                return tr("Choose a model of the OpenAI-compatible server.");
            return tr("Using your OpenAI-compatible server at %1")
                .arg(cloudProviderBaseUrl(*own, settings.openaiCompatibleBaseUrl));
        }
        return tr("Using %1 Cloud AI").arg(displayName(*own));
    }
    if (settings.aiProvider != AIProvider::OpenAICompatible && settings.hasApiKey(settings.aiProvider))
        return tr("Your key is saved but BYOK is off. Using Nomly Cloud AI");
    return {};
}

bool AISetupTab::refusedByCooldown()
{
    const std::optional<QString> refusal = m_cooldown.refusal(KeyCheckCooldown::Clock::now());
    if (!refusal) {
        m_cooldownTicker->stop();
        return false;
    }
    m_connection->setText(*refusal);
    return true;
}

void AISetupTab::noteFailure(const QString &text, bool rateLimited)
{
    if (!rateLimited && !KeyCheckCooldown::saysRateLimited(text))
        return;
    m_cooldown.start(KeyCheckCooldown::Clock::now());
    m_cooldownTicker->start();
    refusedByCooldown();
}

QCoro::Task<> AISetupTab::confirmRemoveKey()
{
    QPointer<AISetupTab> self(this);
    const QString clear = tr("Clear");
    auto asking
        = m_presentAlert(tr("Clear API Key?"),
                         selectedProvider() == AIProvider::OpenAICompatible
                             ? tr("This will remove the API key of your OpenAI-compatible server. Nomly will ask "
                                  "the server without a key.")
                             : tr("This will remove your %1 API key. Cloud AI will use the managed Nomly provider "
                                  "again.")
                                   .arg(m_provider->currentText()),
                         { clear });
    if (co_await asking != clear || !self)
        co_return;
    auto removing = removeKey();
    co_await removing;
}

QCoro::Task<> AISetupTab::changeProvider(AIProvider provider)
{
    QPointer<AISetupTab> self(this);
    // The list of the provider before means nothing for this one.
    m_byokModel->clear();
    m_connection->setText(AIConnectionStatus().text());
    auto saving = change([provider](Settings &settings) { settings.aiProvider = provider; });
    co_await saving;
    if (!self)
        co_return;
    const Settings &settings = m_model.settings();
    QString unavailable;
    KeySync *sync = m_keySync && provider != AIProvider::OpenAICompatible ? m_keySync(&unavailable) : nullptr;
    if (sync && settings.hasApiKey(provider)) {
        auto telling = sync->setKeyEnabled(provider, settings.byokEnabled);
        if (const Result<BYOKSyncResponse> told = co_await telling; !told)
            qCWarning(lcConfig).noquote() << "BYOK provider metadata sync failed:" << told.error();
        if (!self)
            co_return;
    }
    refresh();
    const bool reachable = provider == AIProvider::OpenAICompatible ? !settings.openaiCompatibleBaseUrl.isEmpty()
                                                                    : settings.hasApiKey(provider);
    if (reachable) {
        auto testing = testKey();
        co_await testing;
    }
}

QCoro::Task<> AISetupTab::changeModel(AIProvider provider, QString id)
{
    QPointer<AISetupTab> self(this);
    auto saving = change([provider, id](Settings &settings) {
        settings.byokModel(provider) = id.isEmpty() ? std::nullopt : std::optional(id);
    });
    co_await saving;
    QString unavailable;
    KeySync *sync = self && m_keySync && m_model.settings().hasApiKey(provider) ? m_keySync(&unavailable) : nullptr;
    if (!sync)
        co_return;
    m_connection->setText(tr("Updating model..."));
    auto telling = sync->changeModel(provider, id);
    const Result<BYOKSyncResponse> told = co_await telling;
    if (!self || selectedProvider() != provider)
        co_return;
    m_connection->setText(told ? AIConnectionStatus { AIConnectionStatus::Kind::Ready, {} }.text() : told.error());
}

QCoro::Task<> AISetupTab::useServer(QString address)
{
    QPointer<AISetupTab> self(this);
    auto saving = change([address](Settings &settings) { settings.openaiCompatibleBaseUrl = address; });
    co_await saving;
    if (self && !address.isEmpty()) {
        auto testing = testKey();
        co_await testing;
    }
}

void AISetupTab::addSection(QWidget *section)
{
    auto *column = qobject_cast<QVBoxLayout *>(layout());
    // Above the stretch that keeps the form at the top.
    column->insertWidget(column->count() - 1, section);
}

AIProvider AISetupTab::selectedProvider() const
{
    return static_cast<AIProvider>(m_provider->currentData().toInt());
}

QCoro::Task<> AISetupTab::change(std::function<void(Settings &)> edit)
{
    Settings settings = m_model.settings();
    edit(settings);
    m_model.setSettings(settings);
    auto saving = m_model.saveSettings();
    co_await saving;
}

QCoro::Task<> AISetupTab::saveKey()
{
    const QString key = m_key->text().trimmed();
    if (!m_custody || key.isEmpty())
        co_return;
    QString unavailable;
    KeySync *sync = m_keySync ? m_keySync(&unavailable) : nullptr;
    if (!sync) {
        m_keyState->setText(tr("The key could not be stored: %1").arg(unavailable));
        co_return;
    }
    if (refusedByCooldown())
        co_return;
    QPointer<AISetupTab> self(this);
    m_keyState->setText(tr("Checking the key with the provider..."));
    auto saving = m_model.saveApiKey(*sync, selectedProvider(), key);
    const Result<> saved = co_await saving;
    if (!self)
        co_return;
    if (saved) {
        m_key->clear();
        refresh();
        m_keyState->setText(tr("API key saved"));
        co_await testKey();
    } else {
        m_keyState->setText(tr("The key was not stored: %1").arg(saved.error()));
        noteFailure(saved.error());
    }
}

QCoro::Task<> AISetupTab::removeKey()
{
    if (!m_custody)
        co_return;
    QPointer<AISetupTab> self(this);
    const AIProvider provider = selectedProvider();
    QString unavailable;
    if (KeySync *sync = m_keySync ? m_keySync(&unavailable) : nullptr) {
        auto clearing = sync->clearKey(provider);
        if (const Result<BYOKSyncResponse> cleared = co_await clearing; !cleared)
            unavailable = cleared.error();
    }
    if (!unavailable.isEmpty())
        qCWarning(lcConfig).noquote() << "Server clear failed, cleaning up locally:" << unavailable;
    if (!self)
        co_return;
    auto removing = m_model.removeApiKey(*m_custody, provider);
    co_await removing;
    if (self)
        m_connection->setText(AIConnectionStatus().text());
}

QCoro::Task<> AISetupTab::testKey()
{
    const AIProvider provider = selectedProvider();
    // The user's own server may be asked without any key, and so without
    // a store to keep one.
    if ((!m_custody && provider != AIProvider::OpenAICompatible) || refusedByCooldown())
        co_return;
    QPointer<AISetupTab> self(this);
    const QString serverUrl = m_model.settings().openaiCompatibleBaseUrl;
    m_connection->setText(AIConnectionStatus { AIConnectionStatus::Kind::Testing, {} }.text());
    QString key;
    if (m_custody) {
        auto loading = m_custody->load(provider);
        key = (co_await loading).value_or(QString());
        if (!self)
            co_return;
    }
    CloudAIProbeService probe(*m_network);
    auto testing = probe.testKey(provider, key, serverUrl);
    const AIConnectionStatus status = co_await testing;
    if (!self || selectedProvider() != provider)
        co_return;
    m_connection->setText(status.text());
    noteFailure(status.message, status.rateLimited);
    // A provider that says it is asked too often is not asked again now.
    if (status.kind == AIConnectionStatus::Kind::Failed || status.rateLimited)
        co_return;
    m_byokModel->setPlaceholderText(tr("Loading models..."));
    auto listing = probe.loadModels(provider, key, serverUrl);
    const Result<QList<ModelOption>, ModelListError> models = co_await listing;
    if (!self || selectedProvider() != provider)
        co_return;
    const QSignalBlocker blocker(m_byokModel);
    m_byokModel->clear();
    m_byokModel->addItem(tr("Default"), QString());
    if (!models) {
        m_connection->setText(models.error());
    } else {
        for (const ModelOption &option : models.value())
            m_byokModel->addItem(option.displayName, option.id);
        if (models.value().isEmpty())
            m_connection->setText(tr("No compatible analysis models returned by provider"));
    }
    refresh();
}

QCoro::Task<> AISetupTab::refreshOllama()
{
    QPointer<AISetupTab> self(this);
    const QString endpoint = m_model.settings().localAIEndpoint;
    m_ollamaState->setText(tr("Asking Ollama..."));
    LocalOllamaService ollama(*m_network);
    auto listing = ollama.installedModels(endpoint);
    const Result<QStringList, LocalOllamaError> models = co_await listing;
    if (!self)
        co_return;
    if (!models) {
        m_ollamaState->setText(models.error());
        co_return;
    }
    const std::optional<QString> problem
        = LocalOllamaService::modelCheck(models.value(), m_model.settings().localAIModel);
    m_ollamaState->setText(models.value().isEmpty() ? tr("No models installed")
                                                    : tr("Installed: %1").arg(models.value().join(QStringLiteral(", ")))
                                   + (problem ? QStringLiteral(" — ") + *problem : QString()));
}

QCoro::Task<> AISetupTab::enableLocal()
{
    QPointer<AISetupTab> self(this);
    m_ollamaState->setText(tr("Asking Ollama..."));
    LocalOllamaService ollama(*m_network);
    auto listing = ollama.installedModels(m_model.settings().localAIEndpoint);
    const Result<QStringList, LocalOllamaError> models = co_await listing;
    if (!self)
        co_return;
    // The local route goes on only where Ollama answers with a model, so
    // that the next rename doesn't fail on every file.
    if (const std::optional<QString> refusal = LocalOllamaService::enableRefusal(models)) {
        m_ollamaState->setText(*refusal);
        refresh();
        co_return;
    }
    m_ollamaState->setText(tr("Installed: %1").arg(models.value().join(QStringLiteral(", "))));
    co_await change([](Settings &settings) { settings.aiProcessingMode = AIProcessingMode::Local; });
}

} // namespace Nomly
