#include "feedback/text_cut.h"

#include <gtest/gtest.h>

namespace vornleads {
namespace {

TEST(PrimeirosCaracteres, CountsCharactersNotBytes) {
  EXPECT_EQ("ação", primeirosCaracteres("ação", 4));
  EXPECT_EQ("açã", primeirosCaracteres("ação", 3));
  EXPECT_EQ("a", primeirosCaracteres("ação", 1));
  EXPECT_EQ("", primeirosCaracteres("ação", 0));
  EXPECT_EQ("€€", primeirosCaracteres("€€€", 2));
  EXPECT_EQ("a😀", primeirosCaracteres("a😀b", 2));
  EXPECT_EQ("abc", primeirosCaracteres("abc", 500));
}

}  // namespace
}  // namespace vornleads
