#include "core/AppModel.h"

#include "core/AlpacaKeys.h"
#include "core/KeychainWords.h"
#include "core/ModelLog.h"
#include "core/ProblemWords.h"

#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace tavix {

namespace {

QString bounceRunningSentence() {
    return QStringLiteral(
        "A bounce is running. Stop it first, so its orders aren't left without Tavix watching them.");
}

// Alpaca answers keys it does not know with 401 (403 for keys it knows but will not serve).
bool refusesKeys(const BrokerError& error) {
    if (error.kind() == BrokerError::Kind::reauthorizationRequired) return true;
    return error.kind() == BrokerError::Kind::api && (error.status() == 401 || error.status() == 403);
}

}  // namespace

std::optional<QString> AppModel::bounceRefusal() const {
    if (runningBounces().empty()) return std::nullopt;
    return bounceRunningSentence();
}

const AlpacaProfile* AppModel::profileOf(const QString& slot) const {
    auto found = std::find_if(alpacaProfiles_.begin(), alpacaProfiles_.end(),
                              [&](const AlpacaProfile& profile) { return profile.slot == slot; });
    return found == alpacaProfiles_.end() ? nullptr : &*found;
}

QString AppModel::freeAlpacaSlot() const {
    const QString first = BrokerID::alpaca().rawValue;
    if (!profileOf(first)) return first;
    for (int suffix = 2;; ++suffix) {
        const QString slot = first + u'-' + QString::number(suffix);
        if (!profileOf(slot)) return slot;
    }
}

void AppModel::saveProfiles(std::vector<AlpacaProfile> profiles) {
    Session::setAlpacaProfiles(profiles);
    write(alpacaProfiles_, std::move(profiles), Field::alpacaProfiles);
}

void AppModel::chooseAlpacaSlot(const QString& slot) {
    Session::setAlpacaSlot(slot.isEmpty() ? std::nullopt : std::optional<QString>(slot));
    write(alpacaSlot_, slot, Field::alpacaSlot);
}

void AppModel::setAddingAlpacaAccount(bool adding) {
    write(addingAlpacaAccount_, adding, Field::addingAlpacaAccount);
}

QCoro::Task<std::optional<QString>> AppModel::connectAlpaca(QString key, QString secret,
                                                            std::optional<QString> replacing,
                                                            std::optional<QString> name) {
    if (auto refusal = bounceRefusal()) co_return refusal;
    key = key.trimmed();
    secret = secret.trimmed();
    if (key.isEmpty() || secret.isEmpty()) co_return QStringLiteral("Paste both the key and the secret.");
    if (key.startsWith(QStringLiteral("AK"))) {
        co_return QStringLiteral(
            "That's a live-money key. Tavix only takes paper keys for now. Paper keys start with PK.");
    }

    QPointer<AppModel> self(this);
    const AlpacaCredentials keys{key, secret};
    // A broker of its own, so the one in use is not touched until the keys are known good.
    std::shared_ptr<AlpacaBroker> probe =
        environment_.alpacaEndpoints
            ? std::make_shared<AlpacaBroker>(*environment_.alpacaEndpoints, AlpacaEnvironment::paper, keys,
                                             environment_.network, environment_.alpacaOptions)
            : std::make_shared<AlpacaBroker>(AlpacaEnvironment::paper, keys, environment_.network,
                                             environment_.alpacaOptions);
    std::vector<BrokerAccount> accounts;
    std::optional<QString> problem;
    try {
        accounts = co_await probe->accounts();
    } catch (const BrokerError& error) {
        problem = refusesKeys(error)
                      ? QStringLiteral(
                            "Alpaca's paper side didn't accept those. Check they're the paper keys, "
                            "copied whole.")
                      : problemWords(error, QStringLiteral("Alpaca"));
    }
    if (!self) co_return problem;
    // The answer resumed this inside the reply's signal: the probe goes once that returns.
    QTimer::singleShot(0, this, [probe] {});
    if (problem) co_return problem;
    if (accounts.empty())
        co_return QStringLiteral("Alpaca took those keys but showed no account behind them.");

    const bool replaces = replacing && profileOf(*replacing);
    const QString slot = replaces ? *replacing : freeAlpacaSlot();
    bool stored = true;
    try {
        co_await AlpacaKeys::save(environment_.keychain, slot, keys);
    } catch (const KeychainError& error) {
        logModelWarning(QStringLiteral("storing Alpaca keys failed: ") + QString::fromUtf8(error.what()));
        stored = false;
    }
    if (!self) co_return std::nullopt;
    if (!stored) {
        co_return QStringLiteral("Alpaca took the keys, but ") + keychainWords().full +
            QStringLiteral(" wouldn't store them, so nothing was saved. Try again.");
    }

    std::vector<AlpacaProfile> profiles = alpacaProfiles_;
    auto found = std::find_if(profiles.begin(), profiles.end(),
                              [&](const AlpacaProfile& profile) { return profile.slot == slot; });
    if (found == profiles.end()) {
        profiles.push_back(AlpacaProfile{slot, std::nullopt, std::nullopt, false, std::nullopt});
        found = std::prev(profiles.end());
    }
    const BrokerAccount& account = accounts.front();
    found->accountID = account.id;
    found->number = account.displayNumber;
    found->live = false;
    // Replacing keys keeps the old label unless a new one is given.
    if (name || !replaces) found->name = name ? AlpacaProfile::tidyName(*name) : std::nullopt;
    saveProfiles(std::move(profiles));
    chooseAlpacaSlot(slot);
    Session::setBroker(BrokerID::alpaca());
    co_await attach(BrokerID::alpaca(), keys);
    co_return std::nullopt;
}

QCoro::Task<void> AppModel::forgetAlpaca(QString slot) {
    QPointer<AppModel> self(this);
    bool removed = true;
    try {
        co_await AlpacaKeys::forget(environment_.keychain, slot);
    } catch (const KeychainError& error) {
        logModelWarning(QStringLiteral("removing Alpaca keys failed: ") + QString::fromUtf8(error.what()));
        removed = false;
    }
    if (!self) co_return;
    if (!removed) {
        // The profile stays, so its keys are not left behind where nothing can reach them.
        setBanner(QStringLiteral("Tavix couldn't remove that account's keys from ") + keychainWords().plain +
                  QStringLiteral(", so it kept the account. Try again."));
        co_return;
    }

    std::vector<AlpacaProfile> profiles = alpacaProfiles_;
    std::erase_if(profiles, [&](const AlpacaProfile& profile) { return profile.slot == slot; });
    saveProfiles(profiles);
    const bool wasInUse = broker_ && broker_->id() == BrokerID::alpaca() && attachedSlot_ == slot;
    if (alpacaSlot_ == slot) chooseAlpacaSlot(profiles.empty() ? QString() : profiles.front().slot);
    if (attachedSlot_ == slot) {
        registry_.forget(BrokerID::alpaca());
        alpacaKeys_.reset();
        attachedSlot_.reset();
    }
    if (!wasInUse) co_return;
    Session::setBroker(BrokerID::mock());
    co_await attach(BrokerID::mock());
}

QCoro::Task<void> AppModel::useAccount(BrokerID id) {
    if (auto refusal = bounceRefusal()) {
        setBanner(refusal);
        co_return;
    }
    Session::setBroker(id);
    co_await attach(std::move(id));
}

QCoro::Task<void> AppModel::useAlpaca(QString slot) {
    if (auto refusal = bounceRefusal()) {
        setBanner(refusal);
        co_return;
    }
    chooseAlpacaSlot(slot);
    Session::setBroker(BrokerID::alpaca());
    co_await attach(BrokerID::alpaca());
}

void AppModel::noteAlpacaAccount() {
    if (!broker_ || broker_->id() != BrokerID::alpaca() || !account_ || !attachedSlot_) return;
    std::vector<AlpacaProfile> profiles = alpacaProfiles_;
    auto found = std::find_if(profiles.begin(), profiles.end(),
                              [&](const AlpacaProfile& profile) { return profile.slot == *attachedSlot_; });
    if (found == profiles.end()) return;
    if (found->accountID == account_->id && found->number == account_->displayNumber) return;
    found->accountID = account_->id;
    found->number = account_->displayNumber;
    saveProfiles(std::move(profiles));
}

}  // namespace tavix
