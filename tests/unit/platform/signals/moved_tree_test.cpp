// SPDX-License-Identifier: Apache-2.0
#include "platform/signals/moved_tree.h"

#include <gtest/gtest.h>

namespace Lumenar {
namespace {

struct Move {
  const char* what;
  const char* path;
  const char* libraries_then;
  const char* libraries_now;
  const char* expected;
};

TEST(MovedTree, WhatIsBelowThePrefixMovesWithTheLibraries) {
  const Move moves[] = {
      {"not moved", "/srv/a/etc/x.conf", "/srv/a/lib", "/srv/a/lib", "/srv/a/etc/x.conf"},
      {"moved", "/srv/a/etc/x.conf", "/srv/a/lib", "/home/u/b/lib", "/home/u/b/etc/x.conf"},
      {"libraries deeper", "/srv/a/etc/x.conf", "/srv/a/lib/arch", "/b/lib/arch", "/b/etc/x.conf"},
      {"outside of the prefix", "/etc/x.conf", "/srv/a/lib", "/b/lib", "/etc/x.conf"},
      {"beside the prefix", "/srv/ab/x.conf", "/srv/a/lib", "/b/lib", "/srv/ab/x.conf"},
      {"libraries outside of it", "/srv/a/etc/x.conf", "/lib", "/b/lib", "/srv/a/etc/x.conf"},
      {"nobody knows where they are", "/srv/a/etc/x.conf", "/srv/a/lib", "", "/srv/a/etc/x.conf"},
  };
  for (const Move& move : moves)
    EXPECT_EQ(MovedWith(move.path, "/srv/a", move.libraries_then, move.libraries_now), move.expected) << move.what;
}

/// Here the library stands in the build tree, beside which nothing is installed.
TEST(MovedTree, WhatIsNotThereHasNotMoved) {
  EXPECT_EQ(InMovedTree("/nonexistent/etc/x.conf"), "/nonexistent/etc/x.conf");
}

}  // namespace
}  // namespace Lumenar
