// Option chains: the active contracts of an underlying joined with their snapshots.
#include "alpaca/AlpacaBroker.h"

#include "alpaca/AlpacaMapping.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tavix {

namespace {

// Contracts and snapshots per page (the service's largest).
const QString chainPageLimit = QStringLiteral("1000");

// With no expiry asked for, the chain covers the next week; when nothing expires in it (a
// weekly-less underlying, or a holiday week) it widens to five weeks, which always holds a
// monthly expiry.
constexpr std::array<int, 2> nearTermWindows = {7, 35};

}  // namespace

QCoro::Task<std::vector<OptionContract>> AlpacaBroker::optionChain(QString symbol,
                                                                   std::optional<Date> expiry) {
    const QString underlying = symbol.trimmed().toUpper();
    if (underlying.isEmpty()) co_return {};

    // The active contracts between two New York days, both inclusive.
    std::vector<AlpacaDTO::OptionContract> contracts;
    QString from;
    QString to;
    const auto listContracts = [&](QString first, QString last) -> QCoro::Task<void> {
        contracts.clear();
        from = first;
        to = last;
        const AlpacaQuery query = {{QStringLiteral("underlying_symbols"), underlying},
                                   {QStringLiteral("status"), QStringLiteral("active")},
                                   {QStringLiteral("expiration_date_gte"), first},
                                   {QStringLiteral("expiration_date_lte"), last},
                                   {QStringLiteral("limit"), chainPageLimit}};
        co_await transport_.pages(AlpacaHost::trading, QStringLiteral("/v2/options/contracts"), query,
                                  [&contracts](const QByteArray& body) {
                                      auto page = AlpacaDTO::decode<AlpacaDTO::OptionContractsResponse>(
                                          body, "OptionContractsResponse");
                                      for (auto& c : page.optionContracts) contracts.push_back(std::move(c));
                                      return page.nextPageToken;
                                  });
    };

    if (expiry) {
        const QString day = AlpacaEndpoints::day(*expiry);
        co_await listContracts(day, day);
    } else {
        const Date now = currentTime();
        for (const int days : nearTermWindows) {
            co_await listContracts(AlpacaEndpoints::day(now), AlpacaEndpoints::day(now, days));
            if (!contracts.empty()) break;
        }
    }
    if (contracts.empty()) co_return {};

    std::map<QString, AlpacaDTO::OptionSnapshot> snapshots;
    const AlpacaQuery query = {{QStringLiteral("feed"), QStringLiteral("indicative")},
                               {QStringLiteral("limit"), chainPageLimit},
                               {QStringLiteral("expiration_date_gte"), from},
                               {QStringLiteral("expiration_date_lte"), to}};
    co_await transport_.pages(AlpacaHost::data, QStringLiteral("/v1beta1/options/snapshots/") + underlying,
                              query, [&snapshots](const QByteArray& body) {
                                  auto page = AlpacaDTO::decode<AlpacaDTO::OptionSnapshotsResponse>(
                                      body, "OptionSnapshotsResponse");
                                  snapshots.merge(page.snapshots);
                                  return page.nextPageToken;
                              });

    std::vector<OptionContract> chain;
    chain.reserve(contracts.size());
    for (const AlpacaDTO::OptionContract& contract : contracts) {
        std::optional<AlpacaDTO::OptionSnapshot> snapshot;
        if (const auto found = snapshots.find(contract.symbol); found != snapshots.end())
            snapshot = found->second;
        if (auto row = AlpacaMapping::optionContract(contract, snapshot)) chain.push_back(std::move(*row));
    }
    std::stable_sort(chain.begin(), chain.end(), [](const OptionContract& a, const OptionContract& b) {
        if (a.expiry != b.expiry) return a.expiry < b.expiry;
        if (a.strike != b.strike) return a.strike < b.strike;
        return a.right == OptionRight::call && b.right != OptionRight::call;
    });
    co_return chain;
}

}  // namespace tavix
