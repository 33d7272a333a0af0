#pragma once

#include <QList>
#include <QObject>
#include <QUuid>

#include <qcoro/qcorotask.h>

#include "settings/preset.h"

namespace Nomly {

class Database;
class UserDefaults;

// The user's templates and the one AI Rename uses. Lives on the main thread;
// the database is written on its own thread while the caller waits, and the
// list changes only once the row is written. A task may end after the object
// is gone, so each operation checks that it still exists after its wait.
class TemplateLibrary final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<Nomly::Preset> presets READ presets NOTIFY presetsChanged)
    Q_PROPERTY(QUuid batchPresetId READ batchPresetId WRITE setBatchPresetId NOTIFY batchPresetIdChanged)

public:
    explicit TemplateLibrary(Database &database, QObject *parent = nullptr);

    // Puts the demo templates into a new profile once, then loads the list.
    QCoro::Task<> load(UserDefaults &userDefaults);

    const QList<Preset> &presets() const { return m_presets; }

    // Null for a null id or one that names no template.
    const Preset *find(const QUuid &id) const;

    // Null when AI Rename uses no template.
    QUuid batchPresetId() const { return m_batchPresetId; }

    void setBatchPresetId(const QUuid &id);

    QCoro::Task<bool> createPreset(Preset preset);
    QCoro::Task<bool> updatePreset(Preset preset);
    // The database drops the folder configurations naming the template in
    // the same transaction; `presetDeleted` tells their holder. AI Rename
    // goes on with no template.
    QCoro::Task<bool> deletePreset(QUuid id);
    // Adds the demo templates that are missing; how many were added.
    QCoro::Task<int> restoreBundledPresets();

Q_SIGNALS:
    void presetsChanged();
    void batchPresetIdChanged();
    void presetDeleted(const QUuid &id);
    // A short text for the user, such as "Demo templates are already present".
    void noticeRequested(const QString &text);

private:
    QCoro::Task<bool> store(Preset preset, const char *failure);

    Database &m_database;
    QList<Preset> m_presets;
    QUuid m_batchPresetId;
};

} // namespace Nomly
