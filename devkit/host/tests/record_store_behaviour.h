#pragma once

#include <gtest/gtest.h>

#include "records/record_store.h"

namespace tavo::devkit
{

// All stores behave alike. `store` is new.
inline void expectKeepsTextsByKindAndIdInTheOrderOfTheirFirstPut(RecordStore& store)
{
    store.put(RecordKind::device, "b", "1");
    store.put(RecordKind::device, "a", "2");
    store.put(RecordKind::settings, "b", "3");
    store.put(RecordKind::device, "b", R"({"t":"'; zwölf"})");

    EXPECT_EQ(store.find(RecordKind::device, "b"), R"({"t":"'; zwölf"})");
    EXPECT_EQ(store.find(RecordKind::settings, "b"), "3");
    EXPECT_EQ(store.find(RecordKind::server, "b"), std::nullopt);
    EXPECT_EQ(store.ids(RecordKind::device), (std::vector<std::string>{"b", "a"}));

    store.remove(RecordKind::device, "b");
    store.remove(RecordKind::device, "c");
    EXPECT_EQ(store.find(RecordKind::device, "b"), std::nullopt);
    EXPECT_EQ(store.ids(RecordKind::device), (std::vector<std::string>{"a"}));
    EXPECT_EQ(store.find(RecordKind::settings, "b"), "3");
}

} // namespace tavo::devkit
