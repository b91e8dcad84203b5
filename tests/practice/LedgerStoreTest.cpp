// Saving and loading the practice ledger: round trips, files that can't be read (kept aside, never
// overwritten) and writes that fail (the old file stays whole).
#include "PracticeFixture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <csignal>

namespace tavix::test {
namespace {

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Caps the size of any file this process writes, so a write fails the way a full disk makes it
// fail; the cap is lifted again when this goes out of scope.
struct FileSizeCap {
    explicit FileSizeCap(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved);
        rlimit capped = saved;
        capped.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &capped);
    }
    ~FileSizeCap() {
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previous);
    }
    rlimit saved{};
    void (*previous)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

class LedgerStoreFiles : public PracticeFixture {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        makeBroker(path);
    }
    // A ledger with held shares, a day's profit, a resting order and a bracket.
    void trade() {
        place(stockOrder(OrderSide::buy, 10));
        place(stockOrder(OrderSide::sell, 2));
        orders();
        place(limitOrder(OrderSide::sell, 5, "150"));
        place(withExits(limitOrder(OrderSide::buy, 2, "90"), 120, 80));
    }

    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("practice.json"));
};

TEST_F(LedgerStoreFiles, APracticeAccountComesBackAfterARestart) {
    trade();
    const Ledger before = broker->ledger();
    EXPECT_FALSE(broker->isUnsaved());
    makeBroker(path);
    EXPECT_FALSE(broker->startedFresh());
    EXPECT_EQ(broker->ledger(), before);
    EXPECT_EQ(broker->openOrders().size(), 4u);  // the resting sale, the entry and its two exits

    // The book still works after the restart.
    broker->pin(acme, Decimal(89));
    auto listed = orders();
    ASSERT_EQ(listed.size(), 4u);
    EXPECT_EQ(listed[0].status, OrderStatus::filled);
    EXPECT_EQ(listed[0].stopLossLeg()->status, OrderStatus::working);
    EXPECT_EQ(position(acme)->quantity, Decimal(10));
}

TEST_F(LedgerStoreFiles, AFileThatCantBeReadIsKeptAsideAndANewAccountStarts) {
    const QByteArray broken = "{\"version\":1,\"ledger\":{\"cash\":";
    broker.reset();
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(broken);
    }
    clock = at(u"2026-03-04T15:06:07Z");
    makeBroker(path);

    EXPECT_TRUE(broker->startedFresh());
    const QString kept = QStringLiteral("practice.json.unreadable-20260304-150607");
    EXPECT_EQ(broker->notice(),
              QString(QStringLiteral("Tavix couldn't read your saved practice account, so it "
                                     "started a new one. The old file is kept as ") +
                      kept + u'.'));
    EXPECT_EQ(readAll(folder.filePath(kept)), broken);
    EXPECT_EQ(broker->ledger(), Ledger::opening());

    // The new account saves where the old one was, and the kept file stays as it is.
    place(stockOrder(OrderSide::buy, 1));
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(readAll(folder.filePath(kept)), broken);
}

TEST_F(LedgerStoreFiles, AFailedWriteLeavesTheOldFileWhole) {
    trade();
    const QByteArray good = readAll(path);
    ASSERT_FALSE(good.isEmpty());
    {
        FileSizeCap cap(static_cast<rlim_t>(good.size() / 2));
        place(limitOrder(OrderSide::buy, 1, "50"));
        EXPECT_TRUE(broker->isUnsaved());
        ASSERT_TRUE(broker->saveProblem());
    }
    EXPECT_EQ(readAll(path), good);
    // No half-written leftovers.
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("practice.json")});

    // The next change saves it all.
    place(limitOrder(OrderSide::buy, 1, "51"));
    EXPECT_FALSE(broker->isUnsaved());
    EXPECT_FALSE(broker->saveProblem());
    makeBroker(path);
    EXPECT_EQ(broker->ledger().book.size(), 8u);
}

}  // namespace
}  // namespace tavix::test
