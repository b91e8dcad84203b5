// Saving and loading the practice ledger: round trips, the cache of encoded orders, files that
// can't be read (kept aside, never overwritten) and writes that fail (the old file stays whole).
#include "PracticeFixture.h"

#include "market/JsonCodec.h"

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

TEST_F(LedgerStoreFiles, TheFileIsTheVersionAndTheLedgerWithKeysAsFieldNames) {
    trade();
    const Json saved = Json::parse(readAll(path));
    EXPECT_EQ(saved.at("version").toInt64(), LedgerStore::version);
    EXPECT_EQ(decodeJson<Ledger>(saved.at("ledger")), broker->ledger());
    EXPECT_TRUE(saved.at("ledger").contains("dayRealized"));
    const Json& someOrder = saved.at("ledger").at("book").members().front().second;
    for (const char* key : {"request", "role", "legIDs", "armed", "status", "enteredAt", "fresh"}) {
        EXPECT_TRUE(someOrder.contains(key)) << key;
    }

    // Written around the cache, the bytes are those of encoding the whole object at once.
    Json whole = Json::object();
    whole.set("version", Json(LedgerStore::version));
    whole.set("ledger", toJson(broker->ledger()));
    EXPECT_EQ(readAll(path), whole.serialize());
}

TEST(LedgerStore, OnlyOrdersThatChangedAreEncodedAgain) {
    LedgerStore store(QStringLiteral("/nonexistent/unused.json"));
    Ledger ledger = Ledger::opening();
    for (int i = 0; i < 3; ++i) {
        const QString id = ledger.nextID();
        ledger.book[id] = Working{.request = stockOrder(acme, OrderSide::buy, i + 1)};
        ledger.parents.push_back(id);
    }
    const QByteArray first = store.encode(ledger);
    EXPECT_EQ(store.encodedLastTime(), 3);
    EXPECT_EQ(store.encode(ledger), first);
    EXPECT_EQ(store.encodedLastTime(), 0);

    ledger.book[QStringLiteral("practice-2")].status = OrderStatus::cancelled;
    const QByteArray second = store.encode(ledger);
    EXPECT_EQ(store.encodedLastTime(), 1);
    EXPECT_EQ(decodeJson<Ledger>(Json::parse(second).at("ledger")), ledger);

    ledger.book.erase(QStringLiteral("practice-3"));
    ledger.parents.pop_back();
    store.encode(ledger);
    EXPECT_EQ(store.written().size(), 2u);
}

TEST_F(LedgerStoreFiles, NothingIsWrittenWhenNothingChanged) {
    trade();
    orders();
    ASSERT_TRUE(QFile::remove(path));
    orders();
    positions();
    balance();
    EXPECT_FALSE(QFile::exists(path));
    place(limitOrder(acme, OrderSide::buy, 1, "50"));
    EXPECT_TRUE(QFile::exists(path));
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

TEST_F(LedgerStoreFiles, FilesThatDecodeWrongAreKeptAsideToo) {
    broker.reset();
    const std::vector<QByteArray> files = {
        "",                                                // empty
        "{\"version\":99,\"ledger\":{}}",                  // from a newer Tavix
        "{\"version\":1,\"ledger\":{\"cash\":\"lots\"}}",  // a field of the wrong kind
        "{\"version\":1,\"ledger\":{\"cash\":5,\"holdings\":{},\"book\":{},\"parents\":[\"x\"],\"sequence\":"
        "0}}",
    };
    for (const auto& bytes : files) {
        writeAll(path, bytes);
        makeBroker(path);
        EXPECT_TRUE(broker->startedFresh()) << bytes.toStdString();
        EXPECT_FALSE(QFile::exists(path));
        broker.reset();
    }
    // Each one kept under its own name.
    EXPECT_EQ(folderFiles().size(), files.size());

    // A good file with a missing optional part is read.
    writeAll(
        path,
        "{\"version\":1,\"ledger\":{\"cash\":5,\"holdings\":{},\"book\":{},\"parents\":[],\"sequence\":7}}");
    makeBroker(path);
    EXPECT_FALSE(broker->startedFresh());
    EXPECT_EQ(broker->ledger().cash, Decimal(5));
    EXPECT_EQ(broker->ledger().sequence, 7);
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
