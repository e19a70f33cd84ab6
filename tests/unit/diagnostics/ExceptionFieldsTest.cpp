// Where the fields of the exceptions lie, as the native build lays them out. The eight bytes of a
// class with virtual operations come first, then the fields of each layer from the innermost out.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "VUSL/Support/BufferWriterException.h"
#include "VUSL/Support/InvalidInputError.h"
#include "VUSL/Support/SysException.h"
#include "service/TPMEnrollmentProcessException.h"
#include "tests/support/MachineTest.h"

namespace {

class ExceptionFieldsTest : public host::MachineTest {};

template <class Object>
const unsigned char* at(const Object& object, std::size_t offset) {
  return reinterpret_cast<const unsigned char*>(&object) + offset;
}

template <class Object>
const std::string& textAt(const Object& object, std::size_t offset) {
  return *reinterpret_cast<const std::string*>(at(object, offset));
}

template <class Object>
uint32_t numberAt(const Object& object, std::size_t offset) {
  uint32_t number = 0;
  std::memcpy(&number, at(object, offset), sizeof(number));
  return number;
}

constexpr std::size_t kText = sizeof(std::string);

// The three texts of a class that streams itself, and where its own fields begin.
constexpr std::size_t kBaseText = 8;
constexpr std::size_t kInnerText = kBaseText + kText;
constexpr std::size_t kOuterText = kInnerText + kText;
constexpr std::size_t kOwnFields = kOuterText + kText;

TEST_F(ExceptionFieldsTest, onlyTheOutermostTextIsFilled) {
  vusl::BufferWriterException exception("X");
  exception << "a";
  EXPECT_EQ(textAt(exception, kBaseText), "");
  EXPECT_EQ(textAt(exception, kInnerText), "");
  EXPECT_EQ(textAt(exception, kOuterText), "X:a");
}

TEST_F(ExceptionFieldsTest, aSystemFailureHasItsErrorAndThenTheLastTextToldOfIt) {
  static_assert(sizeof(SysException) == kOwnFields + 8 + kText);
  SetLastError(5);
  SysException exception("X");
  exception << "a";
  EXPECT_EQ(textAt(exception, kBaseText), "");
  EXPECT_EQ(textAt(exception, kInnerText), "");
  EXPECT_EQ(textAt(exception, kOuterText), "X:a");
  EXPECT_EQ(numberAt(exception, kOwnFields), 5U);
  EXPECT_EQ(textAt(exception, kOwnFields + 8), "");
  exception.errorText();
  EXPECT_EQ(textAt(exception, kOwnFields + 8), "X:aAccess is denied.\r\n");
}

TEST_F(ExceptionFieldsTest, aCopyHasTheLastTextToldOfASystemFailure) {
  SetLastError(5);
  SysException exception;
  exception.errorText();
  const SysException copy(exception);
  EXPECT_EQ(numberAt(copy, kOwnFields), 5U);
  EXPECT_EQ(textAt(copy, kOwnFields + 8), "Access is denied.\r\n");
}

TEST_F(ExceptionFieldsTest, aFailedStepOfTheProcessHasItsCode) {
  using TPMEnrollmentService::TPMEnrollmentProcessException;
  static_assert(sizeof(TPMEnrollmentProcessException) == kOwnFields + 8);
  const TPMEnrollmentProcessException exception("X", 5);
  EXPECT_EQ(textAt(exception, kBaseText), "");
  EXPECT_EQ(textAt(exception, kInnerText), "");
  EXPECT_EQ(textAt(exception, kOuterText), "Last error code: 5 : Access is denied.");
  EXPECT_EQ(numberAt(exception, kOwnFields), 5U);
}

// Id, description, parameters and details, from `offset`.
template <class Object>
void expectResourceFields(const Object& object, std::size_t offset, uint32_t id,
                          const std::string& description, const std::vector<std::string>& params) {
  const std::size_t paramsOffset = offset + 8 + kText;
  EXPECT_EQ(numberAt(object, offset), id);
  EXPECT_EQ(textAt(object, offset + 8), description);
  EXPECT_EQ(*reinterpret_cast<const std::vector<std::string>*>(at(object, paramsOffset)), params);
  EXPECT_EQ(textAt(object, paramsOffset + sizeof(params)), "");
}

TEST_F(ExceptionFieldsTest, aFailureForTheUserHasTwoSetsOfFieldsInOrder) {
  vusl::InvalidInputError error(225);
  error << std::string("p");
  EXPECT_EQ(textAt(error, kBaseText), "");
  expectResourceFields(error, kInnerText, 0, "Resource exception of type 0 was thrown", {});
  expectResourceFields(error, sizeof(ResourceException), 225,
                       "Resource exception of type 225 was thrown", {"p"});
}

}  // namespace
