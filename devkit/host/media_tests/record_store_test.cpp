#include <gtest/gtest.h>

#include "record_store.h"
#include "temp_folder.h"

namespace tavo::devkit
{

// Both stores behave alike.
class RecordStoreTest : public testing::TestWithParam<bool>
{
protected:
    std::unique_ptr<RecordStore> open() const
    {
        return GetParam() ? openDatabaseRecordStore(m_folder.file("records.db"))
                          : makeMemoryRecordStore();
    }

private:
    TempFolder m_folder;
};

TEST_P(RecordStoreTest, keepsTextsByKindAndIdInTheOrderOfTheirFirstPut)
{
    const auto store = open();
    store->put(RecordKind::device, "b", "1");
    store->put(RecordKind::device, "a", "2");
    store->put(RecordKind::settings, "b", "3");
    store->put(RecordKind::device, "b", R"({"t":"'; zwölf"})");

    EXPECT_EQ(store->find(RecordKind::device, "b"), R"({"t":"'; zwölf"})");
    EXPECT_EQ(store->find(RecordKind::settings, "b"), "3");
    EXPECT_EQ(store->find(RecordKind::server, "b"), std::nullopt);
    EXPECT_EQ(store->ids(RecordKind::device), (std::vector<std::string>{"b", "a"}));

    store->remove(RecordKind::device, "b");
    store->remove(RecordKind::device, "c");
    EXPECT_EQ(store->find(RecordKind::device, "b"), std::nullopt);
    EXPECT_EQ(store->ids(RecordKind::device), (std::vector<std::string>{"a"}));
    EXPECT_EQ(store->find(RecordKind::settings, "b"), "3");
}

INSTANTIATE_TEST_SUITE_P(Stores, RecordStoreTest, testing::Bool());

TEST(DatabaseRecordStore, findsItsRecordsAgain)
{
    const TempFolder folder;
    openDatabaseRecordStore(folder.file("records.db"))->put(RecordKind::server, "this", "{}");
    const auto again = openDatabaseRecordStore(folder.file("records.db"));
    EXPECT_EQ(again->find(RecordKind::server, "this"), "{}");
}

TEST(DatabaseRecordStore, saysWhyItCannotOpen)
{
    EXPECT_THROW((void)openDatabaseRecordStore("/nowhere/at/all/records.db"), std::runtime_error);
}

} // namespace tavo::devkit
