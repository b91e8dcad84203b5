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

const QString acme = QStringLiteral("ACME");

QByteArray readAll(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll();
}

void writeAll(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

// Caps the size of any file this process writes, so a write fails the way a full disk makes it
// fail; the cap is lifted again when this goes out of scope.
class FileSizeCap {
public:
    explicit FileSizeCap(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        previous_ = std::signal(SIGXFSZ, SIG_IGN);
        rlimit capped = saved_;
        capped.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &capped);
    }
    ~FileSizeCap() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, previous_);
    }
    FileSizeCap(const FileSizeCap&) = delete;
    FileSizeCap& operator=(const FileSizeCap&) = delete;

private:
    rlimit saved_{};
    void (*previous_)(int) = nullptr;
};

class LedgerStoreFiles : public PracticeFixture {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        path = folder.filePath(QStringLiteral("practice.json"));
        makeBroker(path);
        broker->pin(acme, Decimal(100));
    }
    // A ledger with held shares, a day's profit, a resting order and a bracket.
    void trade() {
        place(stockOrder(acme, OrderSide::buy, 10));
        place(stockOrder(acme, OrderSide::sell, 2));
        orders();
        place(limitOrder(acme, OrderSide::sell, 5, "150"));
        auto bracket = limitOrder(acme, OrderSide::buy, 2, "90");
        bracket.takeProfit = Decimal(120);
        bracket.stopLoss = Decimal(80);
        place(bracket);
    }
    QStringList folderFiles() const { return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir folder;
    QString path;
};

TEST_F(LedgerStoreFiles, APracticeAccountComesBackAfterARestart) {
    trade();
    const Ledger before = broker->ledger();
    EXPECT_FALSE(broker->isUnsaved());
    makeBroker(path);
    broker->pin(acme, Decimal(100));
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
    writeAll(path, broken);
    clock = *Date::parseIso(u"2026-03-04T15:06:07Z");
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
    place(stockOrder(acme, OrderSide::buy, 1));
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(readAll(folder.filePath(kept)), broken);
}

TEST_F(LedgerStoreFiles, AFailedWriteLeavesTheOldFileWhole) {
    trade();
    const QByteArray good = readAll(path);
    ASSERT_FALSE(good.isEmpty());
    {
        FileSizeCap cap(static_cast<rlim_t>(good.size() / 2));
        place(limitOrder(acme, OrderSide::buy, 1, "50"));
        EXPECT_TRUE(broker->isUnsaved());
        ASSERT_TRUE(broker->saveProblem());
    }
    EXPECT_EQ(readAll(path), good);
    EXPECT_EQ(folderFiles(), QStringList{QStringLiteral("practice.json")});  // no half-written leftovers

    // The next change saves it all.
    place(limitOrder(acme, OrderSide::buy, 1, "51"));
    EXPECT_FALSE(broker->isUnsaved());
    EXPECT_FALSE(broker->saveProblem());
    makeBroker(path);
    EXPECT_EQ(broker->ledger().book.size(), 8u);
}

}  // namespace
}  // namespace tavix::test
