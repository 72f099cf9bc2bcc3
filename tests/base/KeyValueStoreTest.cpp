// Show that the memory store keeps what is set and forgets what is removed.
#include "base/KeyValueStore.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

TEST(KeyValueStoreTest, MemoryStoreForgetsRemovedKeys) {
    MemoryKeyValueStore store;
    store.set("a", 1.5);
    EXPECT_EQ(store.numberValue("a"), 1.5);
    store.remove("a");
    EXPECT_EQ(store.value("a"), std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
