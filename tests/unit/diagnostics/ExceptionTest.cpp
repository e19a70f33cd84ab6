#include "VUSL/Support/Exception.h"

#include <gtest/gtest.h>

#include <ios>
#include <string>
#include <type_traits>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/BufferWriterException.h"
#include "VUSL/Support/FileACLException.h"
#include "VUSL/Support/LockedException.h"
#include "VUSL/Support/ResourceMissingException.h"
#include "VUSL/Support/SysException.h"
#include "service/TPMEnrollmentProcessException.h"
#include "tests/unit/runtime/SlotOrder.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

template <class Derived, class Base>
constexpr bool derives = std::is_convertible_v<Derived*, Base*>;

TEST(ExceptionTest, readsLocationColonAndStreamedText) {
  Exception exception("X");
  exception << "a" << 5;
  EXPECT_STREQ(exception.what(), "X:a5");
}

TEST(ExceptionTest, hasNoColonForAnEmptyLocation) {
  Exception exception("");
  exception << "a";
  EXPECT_STREQ(exception.what(), "a");
}

TEST(ExceptionTest, isEmptyByDefault) {
  EXPECT_STREQ(Exception().what(), "");
}

TEST(ExceptionTest, readsALocationWithNothingStreamedAsLocationAndColon) {
  EXPECT_STREQ(Exception("X").what(), "X:");
}

TEST(ExceptionTest, takesTextsAndNumbers) {
  Exception exception;
  const char* pointer = "p";
  exception << "l" << pointer << std::string("s") << -7 << 7U;
  EXPECT_STREQ(exception.what(), "lps-77");
}

TEST(ExceptionTest, givesEachValueAStreamOfItsOwn) {
  Exception exception;
  exception << std::hex << std::showbase << 255;
  EXPECT_STREQ(exception.what(), "255");
}

TEST(ExceptionTest, throwsItselfWhenStreamedInTheThrow) {
  EXPECT_EQ(thrownBy<Exception>([] { throw Exception("X") << "a"; }), "X:a");
}

TEST(ExceptionTest, keepsItsTextInACopy) {
  Exception exception("X");
  exception << "a";
  const Exception copy(exception);
  exception << "b";
  EXPECT_STREQ(copy.what(), "X:a");
}

TEST(ExceptionTest, isNoAssertException) {
  EXPECT_FALSE((derives<Exception, AssertException>));
  EXPECT_FALSE((derives<AssertException, Exception>));
}

TEST(ExceptionTest, hasTextBehindTheDestructor) {
  // The platform's own order is destructor and text; this compiler gives the destructor two places.
  EXPECT_EQ(slotOf(&Exception::what), 2U);
}

TEST(BaseExceptionTest, isEmptyByDefault) {
  EXPECT_STREQ(BaseException().what(), "");
}

TEST(BaseExceptionTest, isTheRootOfTheFamilyBelowTheStandardException) {
  EXPECT_TRUE((derives<BaseException, std::exception>));
  EXPECT_TRUE((derives<AssertException, BaseException>));
  EXPECT_TRUE((derives<Exception, ExceptionStream<Exception, BaseException>>));
  EXPECT_TRUE((derives<ExceptionStream<Exception, BaseException>, BaseException>));
}

TEST(AssertExceptionTest, readsExactlyItsText) {
  EXPECT_STREQ(AssertException("Outlet is NULL").what(), "Outlet is NULL");
}

TEST(AssertExceptionTest, keepsItsTextInACopy) {
  const AssertException exception("a");
  EXPECT_STREQ(AssertException(exception).what(), "a");
}

TEST(LockedExceptionTest, readsItsLocation) {
  EXPECT_STREQ(vusl::LockedException("ScopedLock").what(), "ScopedLock:");
}

TEST(LockedExceptionTest, streamsThroughTheLayerOfException) {
  vusl::LockedException exception("X");
  static_assert(std::is_same_v<decltype(exception << "a"), Exception&>);
  exception << "a";
  EXPECT_STREQ(exception.what(), "X:a");
}

TEST(FileACLExceptionTest, isCaughtAsAnException) {
  EXPECT_TRUE((derives<FileACLException, Exception>));
  EXPECT_STREQ(FileACLException().what(), "");
  EXPECT_STREQ(FileACLException("X").what(), "X:");
}

TEST(ResourceMissingExceptionTest, throwsItselfWhenStreamedInTheThrow) {
  EXPECT_EQ(
      thrownBy<ResourceMissingException>([] { throw ResourceMissingException() << "a" << 1; }),
      "a1");
}

TEST(ResourceMissingExceptionTest, hasALayerOfItsOwnAboveException) {
  EXPECT_TRUE(
      (derives<ResourceMissingException, ExceptionStream<ResourceMissingException, Exception>>));
}

TEST(ResourceMissingExceptionTest, leavesTheTextOfTheInnerLayerEmpty) {
  ResourceMissingException exception;
  exception << "a";
  EXPECT_STREQ(exception.what(), "a");
  EXPECT_STREQ(exception.Exception::what(), "");
}

TEST(BufferWriterExceptionTest, readsLocationColonAndStreamedText) {
  EXPECT_EQ(
      thrownBy<vusl::BufferWriterException>([] { throw vusl::BufferWriterException("X") << "a"; }),
      "X:a");
}

TEST(BufferWriterExceptionTest, leavesTheTextOfTheInnerLayerEmpty) {
  vusl::BufferWriterException exception("X");
  EXPECT_STREQ(exception.Exception::what(), "");
}

TEST(BufferWriterExceptionTest, keepsItsTextInACopy) {
  vusl::BufferWriterException exception("X");
  exception << "a";
  EXPECT_STREQ(vusl::BufferWriterException(exception).what(), "X:a");
}

TEST(ExceptionTest, hasALayerForEachClassThatStreamsItself) {
  using TPMEnrollmentService::TPMEnrollmentProcessException;
  EXPECT_TRUE((derives<SysException, ExceptionStream<SysException, Exception>>));
  EXPECT_TRUE((derives<vusl::BufferWriterException,
                       ExceptionStream<vusl::BufferWriterException, Exception>>));
  EXPECT_TRUE((derives<TPMEnrollmentProcessException,
                       ExceptionStream<TPMEnrollmentProcessException, Exception>>));
}

TEST(BaseExceptionTest, readsExactlyItsTextAlsoInACopy) {
  const BaseException exception("a");
  EXPECT_STREQ(BaseException(exception).what(), "a");
}

TEST(LockedExceptionTest, keepsItsTextInACopy) {
  vusl::LockedException exception("X");
  exception << "a";
  EXPECT_STREQ(vusl::LockedException(exception).what(), "X:a");
}

TEST(FileACLExceptionTest, keepsItsTextInACopyAndInOneAsAnException) {
  FileACLException exception("X");
  exception << "a";
  EXPECT_STREQ(FileACLException(exception).what(), "X:a");
  EXPECT_STREQ(Exception(exception).what(), "X:a");
}

TEST(ResourceMissingExceptionTest, keepsItsTextInACopy) {
  ResourceMissingException exception;
  exception << "a";
  EXPECT_STREQ(ResourceMissingException(exception).what(), "a");
}

TEST(ExceptionTest, holdsOneTextForEachLayerAndNoFieldsBeside) {
  constexpr std::size_t kSlots = sizeof(std::exception);
  constexpr std::size_t kText = sizeof(std::string);
  EXPECT_EQ(sizeof(BaseException), kSlots + kText);
  EXPECT_EQ(sizeof(AssertException), kSlots + kText);
  EXPECT_EQ(sizeof(Exception), kSlots + 2 * kText);
  EXPECT_EQ(sizeof(vusl::LockedException), kSlots + 2 * kText);
  EXPECT_EQ(sizeof(FileACLException), kSlots + 2 * kText);
  EXPECT_EQ(sizeof(ResourceMissingException), kSlots + 3 * kText);
  EXPECT_EQ(sizeof(vusl::BufferWriterException), kSlots + 3 * kText);
}

TEST(ExceptionTest, takesANullTextForNoneAndGoesOn) {
  Exception exception("X");
  const char* none = nullptr;
  exception << none << "a";
  EXPECT_STREQ(exception.what(), "X:a");
}

TEST(ExceptionTest, takesEmptyTextsForNothing) {
  Exception exception("X");
  exception << "" << std::string() << "a";
  EXPECT_STREQ(exception.what(), "X:a");
}

TEST(ExceptionTest, keepsAZeroCharacterBehindWhichReadersOfTheTextSeeNothing) {
  Exception exception;
  exception << std::string("a\0b", 3) << "c";
  EXPECT_STREQ(exception.what(), "a");
  EXPECT_EQ(std::string(exception.what(), 4), std::string("a\0bc", 4));
}

TEST(ExceptionTest, keepsBytesThatAreNoUtf8) {
  Exception exception("\xC3");
  exception << "\xFF\xED\xA0\x80";
  EXPECT_STREQ(exception.what(), "\xC3:\xFF\xED\xA0\x80");
}

TEST(ExceptionTest, printsNumbersWithoutGrouping) {
  Exception exception;
  exception << -2147483647 - 1 << " " << 4294967295U;
  EXPECT_STREQ(exception.what(), "-2147483648 4294967295");
}

}  // namespace
