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

void writeAll(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
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

// Files that are JSON but hold what the ledger can't be: each is moved aside and kept as it was.
TEST_F(LedgerStoreFiles, FilesWithBadValuesAreKeptAsideNotLost) {
    broker.reset();
    const QByteArray book =
        R"("book":{"practice-1":{"request":{"symbol":"ACME","quantity":1},"role":"plain","legIDs":[],)"
        R"("armed":true,"status":"%1","enteredAt":"2026-03-02T15:00:00Z","fresh":false}})";
    const auto ledger = [](const QByteArray& inside) -> QByteArray {
        return QByteArray(R"({"version":1,"ledger":{)") + inside + "}}";
    };
    const std::vector<QByteArray> files = {
        "",
        R"({"version":99,"ledger":{}})",  // from a newer Tavix
        ledger(R"("cash":"lots","holdings":{},"book":{},"parents":[],"sequence":0)"),
        ledger(R"("cash":5,"holdings":{},"book":{},"parents":["practice-9"],"sequence":0)"),  // points nowhere
        ledger(R"("cash":5,"holdings":{},)" + QByteArray(book).replace("%1", "teleported") +
               R"(,"parents":["practice-1"],"sequence":1)"),
        ledger(R"("cash":5,"holdings":{"ACME":{"quantity":"1e400","cost":1}},"book":{},"parents":[],"sequence":0)"),
    };
    for (std::size_t i = 0; i < files.size(); ++i) {
        writeAll(path, files[i]);
        clock = at(u"2026-03-04T15:06:07Z") + static_cast<double>(i);
        makeBroker(path);
        EXPECT_TRUE(broker->startedFresh()) << files[i].toStdString();
        EXPECT_FALSE(QFile::exists(path));
        broker.reset();
    }
    // Each one kept, byte for byte, under its own name.
    const QStringList kept = QDir(folder.path()).entryList(QDir::Files, QDir::Name);
    ASSERT_EQ(kept.size(), static_cast<qsizetype>(files.size()));
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(readAll(folder.filePath(kept[static_cast<qsizetype>(i)])), files[i]);
    }
}

// A file whose sequence fell behind its own ids: the next order still gets a new one, and the
// order under the old id is left as it was.
TEST_F(LedgerStoreFiles, ASequenceBehindItsIdsNeverHandsOneOutAgain) {
    place(limitOrder(OrderSide::buy, 1, "50"));
    place(limitOrder(OrderSide::buy, 2, "51"));
    broker.reset();
    Json file = Json::parse(readAll(path).toStdString());
    Json ledger = file.at("ledger");
    ledger.set("sequence", Json(1));
    file.set("ledger", ledger);
    writeAll(path, file.serialize());

    makeBroker(path);
    ASSERT_FALSE(broker->startedFresh());
    const Order third = place(limitOrder(OrderSide::buy, 3, "52"));
    EXPECT_EQ(third.id, QStringLiteral("practice-3"));
    EXPECT_EQ(broker->ledger().book.size(), 3u);
    EXPECT_EQ(broker->ledger().book.at(QStringLiteral("practice-2")).request.quantity, Decimal(2));

    // Even a sequence that says nothing useful at all skips what the book holds.
    Ledger odd = Ledger::opening();
    odd.book[QStringLiteral("practice-1")] = Working{};
    EXPECT_EQ(odd.nextID(), QStringLiteral("practice-2"));
}

// A save cut off before its rename leaves a temporary file beside the ledger; opening removes it
// and nothing else.
TEST_F(LedgerStoreFiles, LeftoversOfInterruptedSavesAreCleanedUpOnOpen) {
    trade();
    broker.reset();
    const QByteArray good = readAll(path);
    const QStringList leftovers = {QStringLiteral("practice.json.a1B2c3"), QStringLiteral("practice.json.ZZZZZZ")};
    const QStringList others = {QStringLiteral("practice.json.unreadable-20260304-150607"),
                                QStringLiteral("practice.json.a1B2c"), QStringLiteral("practice.json.a1-2c3"),
                                QStringLiteral("other.json.a1B2c3")};
    for (const QString& name : leftovers + others) writeAll(folder.filePath(name), "{\"half\":");

    makeBroker(path);
    EXPECT_FALSE(broker->startedFresh());
    QStringList expected = others;
    expected << QStringLiteral("practice.json");
    expected.sort();
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name), expected);
    EXPECT_EQ(readAll(path), good);
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
