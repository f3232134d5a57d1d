#include "base/HResultTable.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "base/DravCodes.h"
#include "base/Win32Error.h"

namespace {

TEST(HResultTable, NamesCodesOfEveryGroup) {
  const struct {
    HRESULT code;
    const char* text;
  } cases[] = {
      {S_OK, "0x00000000 S_OK"},
      {E_INVALIDARG, "0x80070057 E_INVALIDARG"},
      {E_UNEXPECTED, "0x8000ffff E_UNEXPECTED"},
      {static_cast<HRESULT>(0x80070002), "0x80070002 ERROR_FILE_NOT_FOUND"},
      {static_cast<HRESULT>(0x800700B7), "0x800700b7 ERROR_ALREADY_EXISTS"},
      {static_cast<HRESULT>(0x800706BA), "0x800706ba RPC_S_SERVER_UNAVAILABLE"},
      {RPC_E_SERVER_DIED, "0x80010007 RPC_E_SERVER_DIED"},
      {static_cast<HRESULT>(0xC0000005), "0xc0000005 EXCEPTION_ACCESS_VIOLATION"},
      {static_cast<HRESULT>(0xC0000017), "0xc0000017 STATUS_NO_MEMORY"},
      {MAPI_E_NOT_FOUND, "0x8004010f MAPI_E_NOT_FOUND"},
      {MAPI_W_ERRORS_RETURNED, "0x00040380 MAPI_W_ERRORS_RETURNED"},
      {STG_E_MEDIUMFULL, "0x80030070 STG_E_MEDIUMFULL"},
      {STG_S_CANNOTCONSOLIDATE, "0x00030206 STG_S_CANNOTCONSOLIDATE"},
      {DRAV_E_MY_MAILBOX, "0x80043000 DRAV_E_MY_MAILBOX"},
      {DRAV_W_EXISTS, "0x00041008 DRAV_W_EXISTS"},
      {DRAV_E_EXISTS, "0x80041008 DRAV_E_EXISTS"},
      {M2M_EMPTY_GROUPWARE, "0x80045000 M2M_EMPTY_GROUPWARE"},
      {DRAV_E_POCO_CERTIFICATEVALIDATIONEXCEPTION, "0x80044113 DRAV_E_POCO_CERTIFICATEVALIDATIONEXCEPTION"},
  };
  for (const auto& c : cases) EXPECT_EQ(hresultToString(c.code), c.text);
}

TEST(HResultTable, CodesOutsideTheTableStayBare) {
  // Gaps in the product's numbering, and codes the table does not hold.
  EXPECT_EQ(hresultToString(static_cast<HRESULT>(0x8004200e)), "0x8004200e");
  EXPECT_EQ(hresultToString(static_cast<HRESULT>(0x80042019)), "0x80042019");
  EXPECT_EQ(hresultToString(static_cast<HRESULT>(0x80041008 + 0x100)), "0x80041108");
  EXPECT_EQ(hresultToString(0x12345678), "0x12345678");
}

TEST(HResultTable, FirstRowWinsWhereACodeStandsTwice) {
  // Codes that several headers name: the earlier row's name is the one shown.
  EXPECT_EQ(hresultToString(E_NOTIMPL), "0x80004001 E_NOTIMPL");
  EXPECT_EQ(hresultToString(E_OUTOFMEMORY), "0x8007000e E_OUTOFMEMORY");
  EXPECT_EQ(hresultToString(MAPI_E_CALL_FAILED), "0x80004005 E_FAIL");
  // MAPI_E_VERSION shares its value with CLASS_E_NOAGGREGATION, which the table lacks.
  EXPECT_EQ(hresultToString(MAPI_E_VERSION), "0x80040110 MAPI_E_VERSION");
}

TEST(HResultTable, HoldsEveryListedCodeOnce) {
  // 94 of the product's own and 175 published codes; the two repeated rows add none.
  EXPECT_EQ(details::hresultTableSize(), 269u);
}

TEST(HResultTable, IsBuiltOnceUnderConcurrentFirstUse) {
  std::vector<std::thread> threads;
  std::vector<std::string> texts(8);
  for (size_t i = 0; i < texts.size(); ++i)
    threads.emplace_back([&texts, i] { texts[i] = hresultToString(E_POINTER); });
  for (auto& t : threads) t.join();
  for (const auto& t : texts) EXPECT_EQ(t, "0x80004003 E_POINTER");
}

TEST(Win32Error, ConvertsByTheStandardRule) {
  const struct {
    long error;
    uint32_t code;
  } cases[] = {{0, 0}, {-5, 0xFFFFFFFB}, {2, 0x80070002}, {5, 0x80070005}, {0x12345, 0x80072345}, {0xFFFF, 0x8007FFFF}};
  for (const auto& c : cases) EXPECT_EQ(static_cast<uint32_t>(win32ErrorToHResult(c.error)), c.code) << c.error;
}

#ifdef _WIN32
// Our Linux declarations must carry the values of the SDK's own definitions.
TEST(PublishedValues, AgreeWithTheWindowsHeaders) {
#define ZEL_RESULT_CODE(name, value) EXPECT_EQ(static_cast<uint32_t>(name), static_cast<uint32_t>(value)) << #name;
#define ZEL_WIN32_ERROR(name, value) EXPECT_EQ(static_cast<long>(name), static_cast<long>(value)) << #name;
#include "platform/ResultCodes.inc"
#undef ZEL_RESULT_CODE
#undef ZEL_WIN32_ERROR
}
#endif

}  // namespace
