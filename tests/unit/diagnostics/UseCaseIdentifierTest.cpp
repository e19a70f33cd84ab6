#include "VUSL/Support/UseCaseIdentifier.h"

#include <gtest/gtest.h>

namespace {

TEST(UseCaseIdentifierTest, hasTheTextOfTheServiceWithItsBlank) {
  EXPECT_EQ(UseCaseIdentifier::getInstance().getText(), "[TPM] ");
}

TEST(UseCaseIdentifierTest, isOneObject) {
  EXPECT_EQ(&UseCaseIdentifier::getInstance(), &UseCaseIdentifier::getInstance());
}

TEST(UseCaseIdentifierTest, isNamedAsThePlatformsCompilerNamesIt) {
  EXPECT_STREQ(TypeName<UseCaseIdentifier>::text, "class UseCaseIdentifier");
}

}  // namespace
