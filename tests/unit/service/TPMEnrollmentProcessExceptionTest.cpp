#include "service/TPMEnrollmentProcessException.h"

#include <locale>

#include "tests/unit/runtime/Thrown.h"
#include "tests/unit/service/ServiceFixture.h"

namespace {

using TPMEnrollmentService::TPMEnrollmentProcessException;

class TPMEnrollmentProcessExceptionTest : public ServiceTest {};

template <class Character>
struct Grouping : std::numpunct<Character> {
  Character do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\1"; }
};

TEST_F(TPMEnrollmentProcessExceptionTest, textIsTheCodeInDecimalAndTheSystemsMessage) {
  EXPECT_STREQ(TPMEnrollmentProcessException("", 5).what(),
               "Last error code: 5 : Access is denied.");
}

// Deliberate: readers of the log see the code and the message alone.
TEST_F(TPMEnrollmentProcessExceptionTest, locationDoesNotShowInTheText) {
  EXPECT_STREQ(TPMEnrollmentProcessException("A::b", 2).what(),
               "Last error code: 2 : The system cannot find the file specified.");
}

TEST_F(TPMEnrollmentProcessExceptionTest, textOfACodeUnknownToTheSystemEndsAfterTheColon) {
  EXPECT_STREQ(TPMEnrollmentProcessException("", 0xFFFFFFFF).what(),
               "Last error code: 4294967295 : ");
}

// A program may have set a locale whose numbers have separators.
TEST_F(TPMEnrollmentProcessExceptionTest, codeIsTheSameInEveryLocale) {
  const std::locale before = std::locale::global(
      std::locale(std::locale(std::locale::classic(), new Grouping<char>), new Grouping<wchar_t>));
  const std::string text = TPMEnrollmentProcessException("", 1450).what();
  std::locale::global(before);
  EXPECT_EQ(text, "Last error code: 1450 : ");
}

TEST_F(TPMEnrollmentProcessExceptionTest, carriesTheCode) {
  EXPECT_EQ(TPMEnrollmentProcessException("A::b", 740).errorCode, 740U);
}

TEST_F(TPMEnrollmentProcessExceptionTest, isCaughtAsAnException) {
  try {
    throw TPMEnrollmentProcessException("A::b", 5);
  } catch (const Exception& failure) {
    EXPECT_STREQ(failure.what(), "Last error code: 5 : Access is denied.");
  }
}

TEST_F(TPMEnrollmentProcessExceptionTest, copyHasTextAndCodeOfItsOriginal) {
  const TPMEnrollmentProcessException original("A::b", 5);
  const TPMEnrollmentProcessException copy = original;
  EXPECT_STREQ(copy.what(), "Last error code: 5 : Access is denied.");
  EXPECT_EQ(copy.errorCode, 5U);
}

TEST_F(TPMEnrollmentProcessExceptionTest, textHasAQuestionMarkForWhatHasNoNarrowForm) {
  host::machine().errorTexts[5] = L"Odmowa dost\u0119pu.\r\n";
  EXPECT_STREQ(TPMEnrollmentProcessException("", 5).what(), "Last error code: 5 : Odmowa dost?pu.");
}

TEST_F(TPMEnrollmentProcessExceptionTest, throwsItselfWhenStreamedInTheThrow) {
  EXPECT_EQ(thrownBy<TPMEnrollmentProcessException>(
                [] { throw TPMEnrollmentProcessException("A::b", 5) << "x"; }),
            "Last error code: 5 : Access is denied.x");
}

TEST_F(TPMEnrollmentProcessExceptionTest, streamedValuesFollowTheText) {
  EXPECT_STREQ((TPMEnrollmentProcessException("", 5) << " x" << 7).what(),
               "Last error code: 5 : Access is denied. x7");
}

}  // namespace
