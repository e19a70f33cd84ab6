#include "client/talsStatus.h"

#include <iomanip>
#include <locale>
#include <sstream>
#include <type_traits>

#include "VUSL/Support/LogItem.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;

class talsStatusTest : public host::MachineTest {};

std::string textOf(int value) {
  std::ostringstream out;
  out << static_cast<talsStatus>(value);
  return out.str();
}

static_assert(std::is_same_v<std::underlying_type_t<talsStatus>, std::int32_t>);

TEST_F(talsStatusTest, EveryStatusHasItsText) {
  const Texts texts = {
      "0x00 [STATUS_OK]",
      "0x01 [STATUS_UNKNOWN_PARAM]",
      "0x02 [STATUS_ERROR]",
      "0x03 [STATUS_INVALID_PARAM]",
      "0x04 [STATUS_MISSING_CONFIG]",
      "0x05 [STATUS_MISSING_FEI]",
      "0x06 [STATUS_UNKNOWN_PLATFORM]",
      "0x07 [STATUS_SERVICE_UNAVAILABLE]",
      "0x08 [STATUS_CONNECTION_ERROR]",
      "0x09 [STATUS_PENDING_TRANSACTION]",
      "0x0a [STATUS_EPID_GROUP_REVOKED]",
      "0x0b [STATUS_EPID_KEY_REVOKED]",
      "0x0c [STATUS_EPID_SIG_REVOKED]",
      "0x0d [STATUS_INVALID_CAID]",
      "0x0e [STATUS_INVALID_BUFFER_SIZE]",
      "0x0f [STATUS_IN_PROGRESS]",
      "0x10 [STATUS_NEED_EPID_REKEY]",
      "0x11 [STATUS_INVALID_MESSAGE]",
      "0x12 [STATUS_NEED_SUBSEQUENT_CALL]",
      "0x13 [STATUS_INVALID_SCP_VERSION]",
      "0x14 [STATUS_PROVISIONING_IN_PROGRESS]",
      "0x15 [STATUS_OAS_BROKER_STATUS_WAIT]",
      "0x16 [STATUS_FEI_COMMUNICATION_ERROR]",
      "0x17 [STATUS_NOT_SUPPORTED_PLATFORM]",
  };
  for (std::size_t value = 0; value < texts.size(); ++value) {
    EXPECT_EQ(textOf(static_cast<int>(value)), texts[value]);
  }
}

TEST_F(talsStatusTest, EveryNameHasItsValue) {
  EXPECT_EQ(STATUS_OK, 0);
  EXPECT_EQ(STATUS_UNKNOWN_PARAM, 1);
  EXPECT_EQ(STATUS_ERROR, 2);
  EXPECT_EQ(STATUS_INVALID_PARAM, 3);
  EXPECT_EQ(STATUS_MISSING_CONFIG, 4);
  EXPECT_EQ(STATUS_MISSING_FEI, 5);
  EXPECT_EQ(STATUS_UNKNOWN_PLATFORM, 6);
  EXPECT_EQ(STATUS_SERVICE_UNAVAILABLE, 7);
  EXPECT_EQ(STATUS_CONNECTION_ERROR, 8);
  EXPECT_EQ(STATUS_PENDING_TRANSACTION, 9);
  EXPECT_EQ(STATUS_EPID_GROUP_REVOKED, 10);
  EXPECT_EQ(STATUS_EPID_KEY_REVOKED, 11);
  EXPECT_EQ(STATUS_EPID_SIG_REVOKED, 12);
  EXPECT_EQ(STATUS_INVALID_CAID, 13);
  EXPECT_EQ(STATUS_INVALID_BUFFER_SIZE, 14);
  EXPECT_EQ(STATUS_IN_PROGRESS, 15);
  EXPECT_EQ(STATUS_NEED_EPID_REKEY, 16);
  EXPECT_EQ(STATUS_INVALID_MESSAGE, 17);
  EXPECT_EQ(STATUS_NEED_SUBSEQUENT_CALL, 18);
  EXPECT_EQ(STATUS_INVALID_SCP_VERSION, 19);
  EXPECT_EQ(STATUS_PROVISIONING_IN_PROGRESS, 20);
  EXPECT_EQ(STATUS_OAS_BROKER_STATUS_WAIT, 21);
  EXPECT_EQ(STATUS_FEI_COMMUNICATION_ERROR, 22);
  EXPECT_EQ(STATUS_NOT_SUPPORTED_PLATFORM, 23);
}

TEST_F(talsStatusTest, TwentyFourHasNoTextOfItsOwn) {
  EXPECT_EQ(textOf(24),
            "0x18 [string representation not defined for this value of enum talsStatus]");
}

TEST_F(talsStatusTest, ANegativeValueShowsItsTwosComplement) {
  EXPECT_EQ(textOf(-1),
            "0xffffffff [string representation not defined for this value of enum talsStatus]");
}

TEST_F(talsStatusTest, TheWidthOfTwoIsAMinimum) {
  EXPECT_EQ(textOf(256),
            "0x100 [string representation not defined for this value of enum talsStatus]");
}

TEST_F(talsStatusTest, DigitsAreLowerCaseAndTheLeadingZeroIsKept) {
  EXPECT_EQ(textOf(10), "0x0a [STATUS_EPID_GROUP_REVOKED]");
}

TEST_F(talsStatusTest, TheFlagsOfTheStreamDoNotAffectTheText) {
  std::ostringstream out;
  out << std::showbase << std::uppercase << std::oct << std::setfill('*') << std::setw(40)
      << STATUS_EPID_GROUP_REVOKED;
  EXPECT_EQ(out.str(), "0x0a [STATUS_EPID_GROUP_REVOKED]");
}

TEST_F(talsStatusTest, TheFlagsOfTheStreamAreLeftAsTheyAre) {
  std::ostringstream out;
  out << std::showbase << std::uppercase << std::hex << STATUS_OK << " " << 255;
  EXPECT_EQ(out.str(), "0x00 [STATUS_OK] 0XFF");
}

TEST_F(talsStatusTest, InsertionReturnsTheStream) {
  std::ostringstream out;
  EXPECT_EQ(&(out << STATUS_OK), &out);
}

TEST_F(talsStatusTest, ALogItemInDecimalShowsItInHexadecimal) {
  const LogRecorder log;
  LogItem().info() << LogBase::kDecimal << STATUS_NEED_EPID_REKEY << " " << 16;
  EXPECT_EQ(log.texts(), Texts{"[INF] [TPM] 0x10 [STATUS_NEED_EPID_REKEY] 16"});
}

TEST_F(talsStatusTest, ALogItemInHexadecimalStaysSo) {
  const LogRecorder log;
  LogItem().debug() << LogBase::kHexadecimal << STATUS_NEED_EPID_REKEY << " " << 16;
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] 0x10 [STATUS_NEED_EPID_REKEY] 10"});
}

TEST_F(talsStatusTest, ALogItemKeepsItsLevel) {
  const LogRecorder log;
  LogItem().error() << STATUS_OK;
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] 0x00 [STATUS_OK]"});
}

TEST_F(talsStatusTest, AStatusAtTheHeadOfALogItemIsNoBareNumber) {
  const LogRecorder log;
  LogItem() << STATUS_CONNECTION_ERROR;
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] 0x08 [STATUS_CONNECTION_ERROR]"});
}

// A program may have set a locale whose numbers have separators.
TEST_F(talsStatusTest, DigitsAreTheSameInEveryLocale) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const std::string text = textOf(0x12345678);
  std::locale::global(before);
  EXPECT_EQ(text.substr(0, 11), "0x12345678 ");
}

}  // namespace
