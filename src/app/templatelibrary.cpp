#include "app/templatelibrary.h"

#include <QPointer>
#include <algorithm>

#include <qcoro/qcorofuture.h>

#include "app/bundledpresetseeding.h"
#include "history/database.h"
#include "platform/logcategories.h"
#include "settings/bundledpresets.h"

namespace Nomly {

TemplateLibrary::TemplateLibrary(Database &database, QObject *parent)
    : QObject(parent)
    , m_database(database)
{}

QCoro::Task<> TemplateLibrary::load(UserDefaults &userDefaults)
{
    const QPointer<TemplateLibrary> self(this);
    auto seeding = m_database.run([defaults = &userDefaults](Database &database) {
        seedBundledPresetsOnce(database, *defaults);
        return loadUpgradedPresets(database);
    });
    QList<Preset> loaded = co_await seeding;
    if (!self)
        co_return;
    m_presets = std::move(loaded);
    emit presetsChanged();
}

const Preset *TemplateLibrary::find(const QUuid &id) const
{
    if (id.isNull())
        return nullptr;
    const auto found
        = std::find_if(m_presets.cbegin(), m_presets.cend(), [&id](const Preset &preset) { return preset.id == id; });
    return found == m_presets.cend() ? nullptr : &*found;
}

void TemplateLibrary::setBatchPresetId(const QUuid &id)
{
    if (m_batchPresetId == id)
        return;
    m_batchPresetId = id;
    emit batchPresetIdChanged();
}

QCoro::Task<bool> TemplateLibrary::store(Preset preset, const char *failure)
{
    const QPointer<TemplateLibrary> self(this);
    auto saving = m_database.run([preset](Database &database) { return database.savePreset(preset).error(); });
    const QString error = co_await saving;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcDatabase).noquote() << failure << error;
        co_return false;
    }
    const auto stored = std::find_if(
        m_presets.begin(), m_presets.end(), [&preset](const Preset &candidate) { return candidate.id == preset.id; });
    if (stored == m_presets.end())
        m_presets.append(std::move(preset));
    else
        *stored = std::move(preset);
    emit presetsChanged();
    co_return true;
}

QCoro::Task<bool> TemplateLibrary::createPreset(Preset preset)
{
    return store(std::move(preset), "Failed to create preset:");
}

QCoro::Task<bool> TemplateLibrary::updatePreset(Preset preset)
{
    return store(std::move(preset), "Failed to update preset:");
}

QCoro::Task<bool> TemplateLibrary::deletePreset(QUuid id)
{
    const QPointer<TemplateLibrary> self(this);
    auto deleting = m_database.run([id](Database &database) { return database.deletePreset(id).error(); });
    const QString error = co_await deleting;
    if (!self)
        co_return false;
    if (!error.isEmpty()) {
        qCCritical(lcDatabase).noquote() << "Failed to delete preset:" << error;
        co_return false;
    }
    if (m_presets.removeIf([&id](const Preset &preset) { return preset.id == id; }) > 0)
        emit presetsChanged();
    emit presetDeleted(id);
    if (m_batchPresetId == id)
        setBatchPresetId(QUuid());
    co_return true;
}

QCoro::Task<int> TemplateLibrary::restoreBundledPresets()
{
    QList<Preset> missing = missingBundledPresets(m_presets);
    if (missing.isEmpty()) {
        emit noticeRequested(QStringLiteral("Demo templates are already present"));
        co_return 0;
    }
    const QPointer<TemplateLibrary> self(this);
    auto restoring = m_database.run([missing = std::move(missing)](Database &database) {
        QList<Preset> restored;
        for (const Preset &preset : missing) {
            if (const auto saved = database.savePreset(preset); !saved)
                qCCritical(lcDatabase).noquote()
                    << "Failed to restore bundled preset"
                    << preset.bundledId.value_or(QString()) + QStringLiteral(": ") + saved.error();
            else
                restored.append(preset);
        }
        return restored;
    });
    const QList<Preset> restored = co_await restoring;
    if (!self)
        co_return 0;
    if (!restored.isEmpty()) {
        m_presets.append(restored);
        emit presetsChanged();
    }
    co_return int(restored.size());
}

} // namespace Nomly
