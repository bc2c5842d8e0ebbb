#include "record_store_behaviour.h"
#include "temp_folder.h"

namespace tavo::devkit
{

TEST(DatabaseRecordStore, keepsTextsByKindAndIdInTheOrderOfTheirFirstPut)
{
    const TempFolder folder;
    expectKeepsTextsByKindAndIdInTheOrderOfTheirFirstPut(
        *openDatabaseRecordStore(folder.file("records.db")));
}

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
