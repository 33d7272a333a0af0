#pragma once

#include <QMutex>

#include "ai/secretstore.h"

namespace Nomly {

// Secrets in a JSON file only the user can read, for machines where no Secret
// Service answers (servers, CI). The file is never readable by others at any
// moment: each write goes to a fresh mode-0600 file in the same folder, which
// then replaces the old one in a single rename.
class FileSecretStore final : public SecretStore
{
public:
    explicit FileSecretStore(QString filePath);

    // $XDG_CONFIG_HOME/Nomly/secrets.json
    static QString defaultFilePath();

    QString filePath() const { return m_filePath; }

    QCoro::Task<Result<std::optional<QByteArray>>> read(QString service, QString account) override;
    QCoro::Task<Result<>> write(QString service, QString account, QByteArray value) override;
    QCoro::Task<Result<>> remove(QString service, QString account) override;

private:
    QString m_filePath;
    // Keeps the read-modify-write of two callers in this process apart.
    QMutex m_mutex;
};

} // namespace Nomly
