#include "gui/aisetuptab.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <array>
#include <utility>

#include "ai/secretstores.h"
#include "app/settingsviewmodel.h"
#include "gui/launch.h"

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

    auto *keyRow = new QHBoxLayout;
    keyRow->addWidget(m_key, 1);
    keyRow->addWidget(m_saveKey);
    keyRow->addWidget(m_removeKey);

    auto *form = new QFormLayout;
    form->addRow(tr("AI processing"), m_mode);
    form->addRow(tr("Provider"), m_provider);
    form->addRow(QString(), m_byok);
    form->addRow(tr("API key"), keyRow);
    form->addRow(QString(), m_keyState);
    form->addRow(QString(), storage);
    form->addRow(tr("Local endpoint"), m_endpoint);
    form->addRow(tr("Local model"), m_localModel);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch(1);

    connect(m_mode, &QComboBox::activated, this, [this] {
        const auto mode = static_cast<AIProcessingMode>(m_mode->currentData().toInt());
        launch(change([mode](Settings &settings) { settings.aiProcessingMode = mode; }));
    });
    connect(m_provider, &QComboBox::activated, this, [this] {
        const AIProvider provider = selectedProvider();
        launch(change([provider](Settings &settings) { settings.aiProvider = provider; }));
    });
    connect(m_byok, &QCheckBox::toggled, this, [this](bool on) {
        launch(change([on](Settings &settings) { settings.byokEnabled = on; }));
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
    connect(m_key, &QLineEdit::textChanged, this, &AISetupTab::refresh);
    connect(m_key, &QLineEdit::returnPressed, this, [this] { launch(saveKey()); });
    connect(m_saveKey, &QPushButton::clicked, this, [this] { launch(saveKey()); });
    connect(m_removeKey, &QPushButton::clicked, this, [this] { launch(removeKey()); });
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

    const bool cloud = settings.aiProcessingMode == AIProcessingMode::Cloud;
    const bool local = settings.aiProcessingMode == AIProcessingMode::Local;
    const bool stored = settings.hasApiKey(settings.aiProvider);
    m_provider->setEnabled(cloud);
    m_byok->setEnabled(cloud);
    m_key->setEnabled(cloud && m_custody);
    m_saveKey->setEnabled(cloud && m_custody && !m_key->text().trimmed().isEmpty());
    m_removeKey->setEnabled(cloud && m_custody && stored);
    m_keyState->setText(!m_custody   ? tr("No secret store is available on this desktop.")
                            : stored ? tr("A key for %1 is stored.").arg(m_provider->currentText())
                                     : tr("No key for %1 is stored.").arg(m_provider->currentText()));
    m_endpoint->setEnabled(local);
    m_localModel->setEnabled(local);
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
    QPointer<AISetupTab> self(this);
    m_keyState->setText(tr("Checking the key with the provider..."));
    auto saving = m_model.saveApiKey(*sync, selectedProvider(), key);
    const Result<> saved = co_await saving;
    if (!self)
        co_return;
    if (saved) {
        m_key->clear();
        refresh();
    } else {
        m_keyState->setText(tr("The key was not stored: %1").arg(saved.error()));
    }
}

QCoro::Task<> AISetupTab::removeKey()
{
    if (!m_custody)
        co_return;
    auto removing = m_model.removeApiKey(*m_custody, selectedProvider());
    co_await removing;
}

} // namespace Nomly
