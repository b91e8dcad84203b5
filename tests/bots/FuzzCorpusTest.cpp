// Every input the fuzzers kept (tests/fuzz-corpus: the corpus, and any crash they ever found) read
// again under the ordinary build, so what once broke the plug stays fixed.
#include "bots/PlugFuzzing.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace tavix {
namespace {

int replay(const char* folder, void (*read)(const QByteArray&)) {
    const QDir dir(QStringLiteral(TAVIX_FUZZ_CORPUS_DIR) + u'/' + QString::fromLatin1(folder));
    int count = 0;
    for (const QString& name : dir.entryList(QDir::Files)) {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) continue;
        read(file.readAll());
        ++count;
    }
    return count;
}

TEST(FuzzCorpus, EveryKeptInputReadsWithoutHarm) {
    EXPECT_GT(replay("request", &fuzzing::readRequest), 0);
    EXPECT_GT(replay("mcp", &fuzzing::readMcp), 0);
}

}  // namespace
}  // namespace tavix
