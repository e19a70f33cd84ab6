#include "VUSL/Support/EnvironmentPath.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/FailingAllocation.h"

namespace {

// All that the process has asked for and not given back. The text is the C runtime's, so that no
// `new` and no call of the platform is seen.
std::size_t bytesInUse() {
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_current_allocated_bytes();
#else
  const auto use = mallinfo2();
  return use.uordblks + use.hblkhd;
#endif
}

class EnvironmentPathTest : public host::MachineTest {};

struct Row {
  int32_t pathType;
  const wchar_t* variable;
};

class EnvironmentPathTableTest : public host::MachineTest,
                                 public ::testing::WithParamInterface<Row> {};

TEST_P(EnvironmentPathTableTest, typeIsMovedByItsVariable) {
  host::machine().environment[GetParam().variable] = L"D:\\elsewhere";
  std::string value;
  EXPECT_EQ(getEnvironmentPath(GetParam().pathType, &value), 12U);
  EXPECT_EQ(value, "D:\\elsewhere");
}

INSTANTIATE_TEST_SUITE_P(
    Table, EnvironmentPathTableTest,
    ::testing::Values(Row{0, L"TALS_LOGDIR_PATH"}, Row{1, L"TALS_CONFDIR_PATH"},
                      Row{2, L"TALS_X509_CERT_PATH"}, Row{3, L"TALS_EPID_LEGACY_CERT_PATH"},
                      Row{4, L"TALS_CACERT_PATH"}, Row{5, L"TALS_EPID1_PARAMCERT_PATH"},
                      Row{6, L"TALS_EPID2_PARAMCERT_PATH"}, Row{7, L"TALS_PROXY_CONF_PATH"},
                      Row{8, L"TALS_VTM_CONF_PATH"},
                      Row{9, L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH"},
                      Row{10, L"TALS_VTM_RECERT_LOG_PATH"}, Row{11, L"TALS_CLIENT_LOG_PATH"},
                      Row{12, L"TALS_PROXY_LOG_PATH"},
                      Row{13, L"TALS_TPM_ENROLLMENT_SERVICE_CONF_LOG"}),
    [](const auto& test) { return "type" + std::to_string(test.param.pathType); });

TEST_F(EnvironmentPathTest, unsetVariableHasLength0) {
  std::string value = "earlier";
  EXPECT_EQ(getEnvironmentPath(9, &value), 0U);
  EXPECT_EQ(value, "");
}

TEST_F(EnvironmentPathTest, emptyVariableCountsAsNotSet) {
  host::machine().environment[L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH"] = L"";
  std::string value = "earlier";
  EXPECT_EQ(getEnvironmentPath(9, &value), 0U);
  EXPECT_EQ(value, "");
}

TEST_F(EnvironmentPathTest, typeOutsideTheTableHasNoVariable) {
  std::string value = "earlier";
  EXPECT_EQ(getEnvironmentPath(14, &value), 0U);
  EXPECT_EQ(getEnvironmentPath(-1, &value), 0U);
  EXPECT_EQ(value, "");
}

TEST_F(EnvironmentPathTest, failedReadingHasLength0) {
  host::machine().environment[L"TALS_LOGDIR_PATH"] = L"D:\\logs";
  faults().failOnce("_dupenv_s", 12);
  std::string value = "earlier";
  EXPECT_EQ(getEnvironmentPath(0, &value), 0U);
  EXPECT_EQ(value, "");
}

// Looked for in a process in which nobody has used the list yet. A type outside of it asks the
// platform for nothing, so that the list alone takes memory.
TEST_F(EnvironmentPathTest, listIsMadeOnFirstUseAndKept) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto useTwice = [] {
    std::string value;
    const CountedAllocation first;
    getEnvironmentPath(14, &value);
    const std::size_t ofFirst = first.requests();
    const CountedAllocation second;
    getEnvironmentPath(14, &value);
    std::_Exit(ofFirst >= 14 && second.requests() == 0 ? 0 : 1);
  };
  EXPECT_EXIT(useTwice(), ::testing::ExitedWithCode(0), "");
}

TEST_F(EnvironmentPathTest, nothingIsKeptOfTheCallsMemory) {
  constexpr std::size_t kLength = 100'000;
  host::machine().environment[L"TALS_LOGDIR_PATH"] = std::wstring(kLength, L'x');
  std::string value;
  getEnvironmentPath(0, &value);
  const std::size_t before = bytesInUse();
  for (int i = 0; i < 10; ++i) getEnvironmentPath(0, &value);
  EXPECT_LT(bytesInUse(), before + kLength);
}

}  // namespace
