#include "ai/keychainsecretstore.h"

#include <memory>

#include <qcoro/qcorosignal.h>
#include <qt6keychain/keychain.h>

namespace Nomly {

namespace {

// Jobs are owned here rather than deleting themselves, so that their result
// can be read after the coroutine resumes.
template<typename Job> std::unique_ptr<Job> makeJob(const QString &service, const QString &account)
{
    auto job = std::make_unique<Job>(service);
    job->setAutoDelete(false);
    // A plain-text copy in a settings file would bypass the mode-0600 file
    // this program uses when no Secret Service answers.
    job->setInsecureFallback(false);
    job->setKey(account);
    return job;
}

Failure failureOf(const QKeychain::Job &job)
{
    const auto kind = job.error() == QKeychain::NoBackendAvailable || job.error() == QKeychain::NotImplemented
        ? SecretStoreFailure::Unavailable
        : SecretStoreFailure::Refused;
    return Failure { job.errorString(), static_cast<int>(kind) };
}

} // namespace

QCoro::Task<Result<std::optional<QByteArray>>> KeychainSecretStore::read(QString service, QString account)
{
    auto job = makeJob<QKeychain::ReadPasswordJob>(service, account);
    auto finished = qCoro(job.get(), &QKeychain::Job::finished);
    job->start();
    co_await finished;
    if (job->error() == QKeychain::EntryNotFound) {
        co_return std::optional<QByteArray> {};
    }
    if (job->error() != QKeychain::NoError) {
        co_return failureOf(*job);
    }
    co_return std::optional<QByteArray> { job->binaryData() };
}

QCoro::Task<Result<>> KeychainSecretStore::write(QString service, QString account, QByteArray value)
{
    auto job = makeJob<QKeychain::WritePasswordJob>(service, account);
    job->setBinaryData(value);
    auto finished = qCoro(job.get(), &QKeychain::Job::finished);
    job->start();
    co_await finished;
    if (job->error() != QKeychain::NoError) {
        co_return failureOf(*job);
    }
    co_return Result<> {};
}

QCoro::Task<Result<>> KeychainSecretStore::remove(QString service, QString account)
{
    auto job = makeJob<QKeychain::DeletePasswordJob>(service, account);
    auto finished = qCoro(job.get(), &QKeychain::Job::finished);
    job->start();
    co_await finished;
    if (job->error() != QKeychain::NoError && job->error() != QKeychain::EntryNotFound) {
        co_return failureOf(*job);
    }
    co_return Result<> {};
}

LibraryVersion KeychainSecretStore::library()
{
    return { QStringLiteral("QtKeychain"), QStringLiteral(NOMLY_QTKEYCHAIN_VERSION), QStringLiteral("BSD-3-Clause") };
}

} // namespace Nomly
