// What no call from JavaScript can show of the location view.
#include "cache/location_view.h"

#include <gtest/gtest.h>

namespace corvenda {

TEST(LocationView, NeedsABasePackAndTellsOverlaysApart) {
  SemanticError error;
  semanticCache().baseSlot = {};
  EXPECT_FALSE(ensureLocationView("", {}, &error));
  EXPECT_EQ(error.message, "semantic rule-pack cache is unavailable");
  // Lengths in bytes, nothing between the items: two lists have one text only if they are the same.
  const IndexRecord a{"s", "东", {"c", "", "land"}}, b{"s", "t", {}};
  EXPECT_EQ(overlayFingerprint({&a, &b}), "1:s3:东3:1:c0:4:land1:s1:t0:");
}

}  // namespace corvenda
