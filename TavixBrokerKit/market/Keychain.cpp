#include "market/Keychain.h"

#include <qcoro/qcorosignal.h>
#include <qt6keychain/keychain.h>

#include <memory>
#include <utility>

namespace tavix {

namespace {

// A job is freed with deleteLater: the awaiting coroutine resumes inside the job's own signal
// handling, where deleting it at once would pull the object out from under Qt.
struct LaterDeleter {
    void operator()(QObject* object) const { object->deleteLater(); }
};

template <class JobType>
using JobHandle = std::unique_ptr<JobType, LaterDeleter>;

template <class JobType>
JobHandle<JobType> makeJob(const QString& service, const QString& account) {
    JobHandle<JobType> job(new JobType(service));
    // The job is ours to free, so it is still alive when the coroutine reads its outcome.
    job->setAutoDelete(false);
    // Never fall back to keeping secrets as plain text in a settings file.
    job->setInsecureFallback(false);
    job->setKey(account);
    return job;
}

// Starts the job and waits for its end. The job queues its work, so `finished` always comes
// after start() has returned and the wait below has begun.
QCoro::Task<void> run(QKeychain::Job* job) {
    auto finished = qCoro(job, &QKeychain::Job::finished);
    job->start();
    co_await finished;
}

KeychainError failure(const char* operation, const QKeychain::Job& job) {
    QString text = job.errorString();
    if (text.isEmpty()) text = QStringLiteral("error %1").arg(static_cast<int>(job.error()));
    return KeychainError(
        QStringLiteral("Keychain %1 failed: %2").arg(QLatin1String(operation), text).toStdString());
}

KeychainError unreachable() {
    return KeychainError("Keychain unavailable");
}

}  // namespace

SystemKeychain::SystemKeychain(QString service) : service_(std::move(service)) {}

QCoro::Task<std::optional<QString>> SystemKeychain::read(QString account) {
    auto job = makeJob<QKeychain::ReadPasswordJob>(service_, account);
    co_await run(job.get());
    if (job->error() == QKeychain::EntryNotFound) co_return std::nullopt;
    if (job->error() != QKeychain::NoError) throw failure("read", *job);
    QString secret = job->textData();
    co_return std::optional<QString>(std::move(secret));
}

QCoro::Task<void> SystemKeychain::write(QString account, QString secret) {
    auto job = makeJob<QKeychain::WritePasswordJob>(service_, account);
    job->setTextData(secret);
    co_await run(job.get());
    if (job->error() != QKeychain::NoError) throw failure("write", *job);
}

QCoro::Task<void> SystemKeychain::remove(QString account) {
    auto job = makeJob<QKeychain::DeletePasswordJob>(service_, account);
    co_await run(job.get());
    // Removing what is not there leaves the store as asked.
    if (job->error() == QKeychain::EntryNotFound) co_return;
    if (job->error() != QKeychain::NoError) throw failure("remove", *job);
}

QCoro::Task<std::optional<QString>> MemoryKeychain::read(QString account) {
    if (failing_) throw unreachable();
    auto found = items_.find(account);
    if (found == items_.end()) co_return std::nullopt;
    co_return std::optional<QString>(found->second);
}

QCoro::Task<void> MemoryKeychain::write(QString account, QString secret) {
    if (failing_) throw unreachable();
    items_[account] = secret;
    co_return;
}

QCoro::Task<void> MemoryKeychain::remove(QString account) {
    if (failing_) throw unreachable();
    items_.erase(account);
    co_return;
}

}  // namespace tavix
