#include "VUSL/Support/ResourceException.h"

#include <gtest/gtest.h>

#include <ios>
#include <string>
#include <type_traits>
#include <vector>

#include "VUSL/Support/CmdLineExc.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/InvalidInputError.h"
#include "VUSL/Support/MissingFileError.h"
#include "tests/unit/runtime/SlotOrder.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

vusl::InvalidInputError withTwoParameters() {
  vusl::InvalidInputError error(225);
  error << std::string("a") << std::string("b");
  return error;
}

TEST(ResourceExceptionTest, namesItsIdOnly) {
  vusl::InvalidInputError error(225);
  error << std::string("p");
  EXPECT_STREQ(error.what(), "Resource exception of type 225 was thrown");
  EXPECT_EQ(error.joinedParams(","), "p");
}

TEST(ResourceExceptionTest, putsTheSeparatorBetweenParameters) {
  EXPECT_EQ(withTwoParameters().joinedParams(", "), "a, b");
}

TEST(ResourceExceptionTest, joinsNoParametersToNothing) {
  EXPECT_EQ(vusl::InvalidInputError(225).joinedParams(", "), "");
}

TEST(ResourceExceptionTest, takesSingleCharacters) {
  vusl::InvalidInputError error(225);
  error << std::string("long") << 'c';
  EXPECT_EQ(error.params(), (std::vector<std::string>{"long", "c"}));
}

TEST(ResourceExceptionTest, hasNoDetails) {
  EXPECT_STREQ(withTwoParameters().details(), "");
}

TEST(ResourceExceptionTest, hasTheIdZeroByItself) {
  EXPECT_EQ(ResourceException().resourceId(), 0);
  EXPECT_STREQ(ResourceException().what(), "Resource exception of type 0 was thrown");
}

TEST(ResourceExceptionTest, keepsEveryLayerInACopy) {
  const vusl::InvalidInputError error = withTwoParameters();
  const vusl::InvalidInputError copy(error);
  EXPECT_STREQ(copy.what(), "Resource exception of type 225 was thrown");
  EXPECT_EQ(copy.resourceId(), 225);
  EXPECT_EQ(copy.params(), (std::vector<std::string>{"a", "b"}));
  EXPECT_STREQ(copy.ResourceException::what(), "Resource exception of type 0 was thrown");
}

TEST(ResourceExceptionTest, leavesTheInnerLayerAtZeroAndEmpty) {
  const vusl::InvalidInputError error = withTwoParameters();
  EXPECT_EQ(error.ResourceException::resourceId(), 0);
  EXPECT_TRUE(error.ResourceException::params().empty());
}

TEST(ResourceExceptionTest, isReadThroughItsBase) {
  const vusl::InvalidInputError error = withTwoParameters();
  const ResourceException& base = error;
  EXPECT_EQ(base.resourceId(), 225);
  EXPECT_EQ(base.joinedParams("+"), "a+b");
}

TEST(ResourceExceptionTest, isNoException) {
  EXPECT_FALSE((std::is_convertible_v<ResourceException*, Exception*>));
  EXPECT_TRUE((std::is_convertible_v<ResourceException*, BaseException*>));
}

TEST(ResourceExceptionTest, hasItsOperationsInOrder) {
  EXPECT_EQ(slotOf(&ResourceException::what), 2U);
  EXPECT_EQ(slotOf(&ResourceException::resourceId), 3U);
  EXPECT_EQ(slotOf(&ResourceException::joinedParams), 4U);
  EXPECT_EQ(slotOf(&ResourceException::params), 5U);
  EXPECT_EQ(slotOf(&ResourceException::details), 6U);
}

TEST(CmdLineExcTest, hasAFixedId) {
  EXPECT_EQ(vusl::CmdLineExc().resourceId(), 259);
  EXPECT_STREQ(vusl::CmdLineExc().what(), "Resource exception of type 259 was thrown");
}

TEST(CmdLineExcTest, throwsItselfWhenStreamedInTheThrow) {
  EXPECT_EQ(thrownBy<vusl::CmdLineExc>([] { throw vusl::CmdLineExc() << std::string("a"); }),
            "Resource exception of type 259 was thrown");
}

TEST(InvalidInputErrorTest, throwsItselfWhenStreamedInTheThrow) {
  EXPECT_EQ(thrownBy<vusl::InvalidInputError>(
                [] { throw vusl::InvalidInputError(226) << std::string("a"); }),
            "Resource exception of type 226 was thrown");
}

TEST(MissingFileErrorTest, throwsItselfWhenStreamedInTheThrow) {
  EXPECT_EQ(thrownBy<MissingFileError>([] { throw MissingFileError(0) << std::string("a"); }),
            "Resource exception of type 0 was thrown");
}

TEST(MissingFileErrorTest, takesItsId) {
  EXPECT_EQ(MissingFileError(250).resourceId(), 250);
}

TEST(ResourceExceptionTest, givesEachParameterAStreamOfItsOwn) {
  vusl::InvalidInputError error(225);
  error << std::hex << 255;
  EXPECT_EQ(error.params(), (std::vector<std::string>{"", "255"}));
}

TEST(ResourceExceptionTest, hasALayerForEachClassThatStreamsItself) {
  EXPECT_TRUE(
      (std::is_convertible_v<vusl::CmdLineExc*,
                             ResourceExceptionStream<vusl::CmdLineExc, ResourceException>*>));
  EXPECT_TRUE((
      std::is_convertible_v<vusl::InvalidInputError*,
                            ResourceExceptionStream<vusl::InvalidInputError, ResourceException>*>));
  EXPECT_TRUE(
      (std::is_convertible_v<MissingFileError*,
                             ResourceExceptionStream<MissingFileError, ResourceException>*>));
  EXPECT_TRUE((std::is_convertible_v<ResourceException*,
                                     ResourceExceptionStream<ResourceException, BaseException>*>));
}

TEST(CmdLineExcTest, keepsIdAndParametersInACopy) {
  vusl::CmdLineExc error;
  error << std::string("a");
  const vusl::CmdLineExc copy(error);
  EXPECT_STREQ(copy.what(), "Resource exception of type 259 was thrown");
  EXPECT_EQ(copy.params(), std::vector<std::string>{"a"});
}

TEST(MissingFileErrorTest, keepsIdAndParametersInACopy) {
  MissingFileError error(250);
  error << std::string("a");
  const MissingFileError copy(error);
  EXPECT_STREQ(copy.what(), "Resource exception of type 250 was thrown");
  EXPECT_EQ(copy.params(), std::vector<std::string>{"a"});
}

TEST(ResourceExceptionTest, holdsTwoSetsOfFieldsBelowResourceException) {
  struct Fields {
    int32_t resourceId;
    std::string description;
    std::vector<std::string> params;
    std::string details;
  };
  EXPECT_EQ(sizeof(ResourceException), sizeof(BaseException) + sizeof(Fields));
  EXPECT_EQ(sizeof(vusl::CmdLineExc), sizeof(BaseException) + 2 * sizeof(Fields));
  EXPECT_EQ(sizeof(vusl::InvalidInputError), sizeof(BaseException) + 2 * sizeof(Fields));
  EXPECT_EQ(sizeof(MissingFileError), sizeof(BaseException) + 2 * sizeof(Fields));
}

TEST(ResourceExceptionTest, takesANullTextForAnEmptyParameter) {
  vusl::InvalidInputError error(225);
  const char* none = nullptr;
  error << none << "a";
  EXPECT_EQ(error.params(), (std::vector<std::string>{"", "a"}));
}

TEST(ResourceExceptionTest, joinsEmptyParametersAndKeepsZeroCharacters) {
  vusl::InvalidInputError error(225);
  error << std::string() << std::string("a\0b", 3) << '\0';
  EXPECT_EQ(error.joinedParams("+"), std::string("+a\0b+\0", 6));
  EXPECT_EQ(error.joinedParams(""), std::string("a\0b\0", 4));
}

TEST(ResourceExceptionTest, givesACopyOfItsParameters) {
  vusl::InvalidInputError error(225);
  error << std::string("a");
  error.params().push_back("b");
  EXPECT_EQ(error.params(), std::vector<std::string>{"a"});
}

TEST(ResourceExceptionTest, printsANegativeIdWithItsSign) {
  EXPECT_STREQ(MissingFileError(-1).what(), "Resource exception of type -1 was thrown");
}

TEST(ResourceExceptionTest, doesNotChangeItsTextWhenParametersCome) {
  vusl::InvalidInputError error(225);
  error << std::string("a");
  EXPECT_STREQ(error.what(), "Resource exception of type 225 was thrown");
  EXPECT_STREQ(error.ResourceException::what(), "Resource exception of type 0 was thrown");
}

}  // namespace
