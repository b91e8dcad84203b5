#include "WindowFixture.h"

#include "screens/AccountHeader.h"
#include "screens/AccountMenuButton.h"

#include <QMenu>

namespace tavix::test {
namespace {

using AccountMenuTest = WindowFixture;

TEST_F(AccountMenuTest, ListsPracticeAndEachProfileByItsNameNumberOrKind) {
    Session::setAlpacaProfiles({{.slot = QStringLiteral("alpaca"),
                                 .number = QStringLiteral("PA1111"),
                                 .name = QStringLiteral("Swing")},
                                {.slot = QStringLiteral("alpaca-2"), .number = QStringLiteral("PA2222")},
                                {.slot = QStringLiteral("alpaca-3"), .name = QStringLiteral("   ")}});
    openStarted();

    // The menu as the user reads it: each entry's text, a check mark for the one in use.
    const auto entries = [this] {
        QStringList texts;
        for (QAction* action : window->header()->accountMenu()->menu()->actions()) {
            texts << (action->isSeparator()
                          ? QStringLiteral("---")
                          : (action->isChecked() ? QStringLiteral("✓ ") : QString()) + action->text());
        }
        return texts;
    };
    const QStringList expected{QStringLiteral("✓ Practice"),
                               QStringLiteral("Swing"),
                               QStringLiteral("PA2222"),
                               QStringLiteral("Alpaca paper"),
                               QStringLiteral("---"),
                               QStringLiteral("Add Alpaca Paper Account…"),
                               QStringLiteral("Forget Alpaca Account")};
    EXPECT_TRUE(eventually([&] { return entries() == expected; })) << entries().join(u'|').toStdString();
}

}  // namespace
}  // namespace tavix::test
