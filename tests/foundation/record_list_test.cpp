#include "foundation/records/record_list.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// What a view would hear.
class Heard {
public:
    explicit Heard(const RecordListSignals& list) {
        QObject::connect(&list, &RecordListSignals::rowChanged,
                         [this](int row) { events << QStringLiteral("row %1").arg(row); });
        QObject::connect(&list, &RecordListSignals::rowsAppended,
                         [this](int first, int last) { events << QStringLiteral("added %1-%2").arg(first).arg(last); });
        QObject::connect(&list, &RecordListSignals::reset, [this] { events << QStringLiteral("reset"); });
    }
    QStringList take() { return std::exchange(events, {}); }

private:
    QStringList events;
};

TEST(RecordList, AChangeOfOneRowAnnouncesThatRowAlone) {
    RecordList<QString> list;
    list.assign({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
    Heard heard(list);
    list.update(1, [](QString& row) { row = QStringLiteral("B"); });
    EXPECT_EQ(heard.take(), QStringList{QStringLiteral("row 1")});
    EXPECT_EQ(list.rows(), (std::vector<QString>{QStringLiteral("a"), QStringLiteral("B"), QStringLiteral("c")}));
}

TEST(RecordList, ARowThatIsGoneIsLeftAlone) {
    RecordList<QString> list;
    Heard heard(list);
    bool called = false;
    list.update(0, [&](QString&) { called = true; });
    EXPECT_FALSE(called);
    EXPECT_TRUE(heard.take().isEmpty());
}

TEST(RecordList, AppendingAnnouncesTheNewRow) {
    RecordList<int> list;
    Heard heard(list);
    list.append(7);
    list.append(8);
    EXPECT_EQ(heard.take(), QStringList({QStringLiteral("added 0-0"), QStringLiteral("added 1-1")}));
    EXPECT_EQ(list[1], 8);
    EXPECT_EQ(list.size(), 2u);
}

TEST(RecordList, AssigningClearingAndChangingAllAnnounceOnce) {
    RecordList<int> list;
    Heard heard(list);
    list.assign({1, 2, 3});
    EXPECT_EQ(heard.take(), QStringList{QStringLiteral("reset")});
    list.updateAll([](int& row) { row *= 10; });
    EXPECT_EQ(heard.take(), QStringList{QStringLiteral("reset")});
    EXPECT_EQ(list.rows(), (std::vector{10, 20, 30}));
    list.clear();
    EXPECT_EQ(heard.take(), QStringList{QStringLiteral("reset")});
    EXPECT_TRUE(list.empty());
}

TEST(RecordList, RecordsAreInPlaceWhenTheirSignalComes) {
    RecordList<int> list;
    int seen = 0;
    QObject::connect(&list, &RecordListSignals::rowsAppended,
                     [&](int first, int) { seen = list[static_cast<std::size_t>(first)]; });
    QObject::connect(&list, &RecordListSignals::rowChanged,
                     [&](int row) { seen = list[static_cast<std::size_t>(row)]; });
    list.append(7);
    EXPECT_EQ(seen, 7);
    list.update(0, [](int& row) { row = 9; });
    EXPECT_EQ(seen, 9);
}

} // namespace
} // namespace ostrel
