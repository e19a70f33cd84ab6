#include "VUSL/Support/UseCaseIdentifier.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <new>

#include "VUSL/Support/Exception.h"

namespace {

bool memoryHasRunOut = false;

}  // namespace

// The form of new that tells of a lack of memory by a null pointer, for the whole test program.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (memoryHasRunOut) return nullptr;
  try {
    return ::operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

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

TEST(UseCaseIdentifierDeathTest, throwsWhenThereIsNoInstance) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        memoryHasRunOut = true;
        try {
          UseCaseIdentifier::getInstance();
        } catch (const Exception& failure) {
          std::fputs(failure.what(), stderr);
        }
        std::_Exit(0);
      },
      testing::ExitedWithCode(0),
      "^Singleton::getInstance\\(\\):NULL instance of class UseCaseIdentifier$");
}

}  // namespace
