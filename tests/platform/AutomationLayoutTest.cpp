// Our automation and MAPI declarations against the published ABI. On Windows the same
// test compiles against the SDK's headers, so both builds are held to one set of slots,
// offsets and IIDs: a value that differs fails on one of them.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/Mapi.h"
#include "testing/VtableSlot.h"

namespace {

using zelvo::testing::expectSlotsFrom;
using zelvo::testing::slotOf;

// x64 layouts of the structures that cross the interfaces.
static_assert(sizeof(VARIANT) == 24, "VARIANT");
static_assert(offsetof(VARIANT, vt) == 0, "VARIANT.vt");
static_assert(offsetof(VARIANT, lVal) == 8, "VARIANT value");
static_assert(offsetof(VARIANT, bstrVal) == 8, "VARIANT value");
static_assert(sizeof(DISPPARAMS) == 24, "DISPPARAMS");
static_assert(offsetof(DISPPARAMS, rgdispidNamedArgs) == 8, "DISPPARAMS");
static_assert(offsetof(DISPPARAMS, cArgs) == 16, "DISPPARAMS");
static_assert(offsetof(DISPPARAMS, cNamedArgs) == 20, "DISPPARAMS");
static_assert(sizeof(EXCEPINFO) == 64, "EXCEPINFO");
static_assert(offsetof(EXCEPINFO, bstrSource) == 8, "EXCEPINFO");
static_assert(offsetof(EXCEPINFO, dwHelpContext) == 32, "EXCEPINFO");
static_assert(offsetof(EXCEPINFO, scode) == 56, "EXCEPINFO");
static_assert(sizeof(SAFEARRAY) == 32, "SAFEARRAY");
static_assert(offsetof(SAFEARRAY, pvData) == 16, "SAFEARRAY");
static_assert(sizeof(CONNECTDATA) == 16, "CONNECTDATA");
static_assert(sizeof(SRow) == 16, "SRow");
static_assert(offsetof(SRow, lpProps) == 8, "SRow");
static_assert(offsetof(SRowSet, aRow) == 8, "SRowSet");
static_assert(sizeof(SRestriction) == 32, "SRestriction");
static_assert(offsetof(SRestriction, res) == 8, "SRestriction");
static_assert(offsetof(SPropertyRestriction, lpProp) == 8, "SPropertyRestriction");
static_assert(sizeof(SPropValue) == 24, "SPropValue");

struct IidRow {
  const char* name;
  const IID& iid;
  const char* text;
};

TEST(AutomationLayoutTest, InterfaceIdsAreThePublishedOnes) {
  const IidRow rows[] = {
      {"IDispatch", IID_IDispatch, "{00020400-0000-0000-C000-000000000046}"},
      {"IConnectionPointContainer", IID_IConnectionPointContainer, "{B196B284-BAB4-101A-B69C-00AA00341D07}"},
      {"IEnumConnectionPoints", IID_IEnumConnectionPoints, "{B196B285-BAB4-101A-B69C-00AA00341D07}"},
      {"IConnectionPoint", IID_IConnectionPoint, "{B196B286-BAB4-101A-B69C-00AA00341D07}"},
      {"IEnumConnections", IID_IEnumConnections, "{B196B287-BAB4-101A-B69C-00AA00341D07}"},
      {"IPictureDisp", IID_IPictureDisp, "{7BF80981-BF32-101A-8BBB-00AA00300CAB}"},
      {"IMAPISession", IID_IMAPISession, "{00020300-0000-0000-C000-000000000046}"},
      {"IMAPITable", IID_IMAPITable, "{00020301-0000-0000-C000-000000000046}"},
      {"IMAPIProp", IID_IMAPIProp, "{00020303-0000-0000-C000-000000000046}"},
      {"IMsgStore", IID_IMsgStore, "{00020306-0000-0000-C000-000000000046}"},
      {"IMAPIContainer", IID_IMAPIContainer, "{0002030B-0000-0000-C000-000000000046}"},
      {"IMAPIFolder", IID_IMAPIFolder, "{0002030C-0000-0000-C000-000000000046}"},
      {"IID_NULL", IID_NULL, "{00000000-0000-0000-0000-000000000000}"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    char text[40];
    const IID& g = row.iid;
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(g.Data1), g.Data2, g.Data3, g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3],
                  g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
    EXPECT_EQ(std::string(text), row.text);
  }
}

TEST(AutomationLayoutTest, ValuesAreThePublishedOnes) {
  EXPECT_EQ(DISPID_PROPERTYPUT, -3);
  EXPECT_EQ(DISPID_UNKNOWN, -1);
  EXPECT_EQ(DISPATCH_METHOD | DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF, 0xF);
  EXPECT_EQ(LOCALE_USER_DEFAULT, 0x400u);
  EXPECT_EQ(VT_BSTR, 8);
  EXPECT_EQ(VT_DISPATCH, 9);
  EXPECT_EQ(VT_BOOL, 11);
  EXPECT_EQ(VT_UNKNOWN, 13);
  EXPECT_EQ(VT_UI4, 19);
  EXPECT_EQ(VT_BYREF, 0x4000);
  EXPECT_EQ(VARIANT_TRUE, -1);
  EXPECT_EQ(PR_ENTRYID, 0x0FFF0102u);
  EXPECT_EQ(PR_RECORD_KEY, 0x0FF90102u);
  EXPECT_EQ(PR_DISPLAY_NAME_W, 0x3001001Fu);
  EXPECT_EQ(PR_PROVIDER_DISPLAY_W, 0x3006001Fu);
  EXPECT_EQ(PR_RESOURCE_FLAGS, 0x30090003u);
  EXPECT_EQ(PR_DEFAULT_STORE, 0x3400000Bu);
  EXPECT_EQ(PR_MDB_PROVIDER, 0x34140102u);
  EXPECT_EQ(PR_SERVICE_UID, 0x3D0C0102u);
  EXPECT_EQ(MAPI_BEST_ACCESS, 0x10u);
  EXPECT_EQ(RES_PROPERTY, 4u);
  EXPECT_EQ(RELOP_EQ, 4u);
}

TEST(AutomationLayoutTest, AutomationSlots) {
  expectSlotsFrom(3, {slotOf(&IDispatch::GetTypeInfoCount), slotOf(&IDispatch::GetTypeInfo),
                      slotOf(&IDispatch::GetIDsOfNames), slotOf(&IDispatch::Invoke)});
  expectSlotsFrom(3, {slotOf(&IConnectionPointContainer::EnumConnectionPoints),
                      slotOf(&IConnectionPointContainer::FindConnectionPoint)});
  expectSlotsFrom(3, {slotOf(&IConnectionPoint::GetConnectionInterface),
                      slotOf(&IConnectionPoint::GetConnectionPointContainer), slotOf(&IConnectionPoint::Advise),
                      slotOf(&IConnectionPoint::Unadvise), slotOf(&IConnectionPoint::EnumConnections)});
  expectSlotsFrom(3, {slotOf(&IEnumConnections::Next), slotOf(&IEnumConnections::Skip),
                      slotOf(&IEnumConnections::Reset), slotOf(&IEnumConnections::Clone)});
}

TEST(AutomationLayoutTest, MapiTableSlots) {
  using T = IMAPITable;
  expectSlotsFrom(3, {slotOf(&T::GetLastError), slotOf(&T::Advise), slotOf(&T::Unadvise), slotOf(&T::GetStatus),
                      slotOf(&T::SetColumns), slotOf(&T::QueryColumns), slotOf(&T::GetRowCount),
                      slotOf(&T::SeekRow), slotOf(&T::SeekRowApprox), slotOf(&T::QueryPosition),
                      slotOf(&T::FindRow), slotOf(&T::Restrict), slotOf(&T::CreateBookmark),
                      slotOf(&T::FreeBookmark), slotOf(&T::SortTable), slotOf(&T::QuerySortOrder),
                      slotOf(&T::QueryRows), slotOf(&T::Abort), slotOf(&T::ExpandRow), slotOf(&T::CollapseRow),
                      slotOf(&T::WaitForCompletion), slotOf(&T::GetCollapseState), slotOf(&T::SetCollapseState)});
}

// IMAPIProp takes slots 3 to 13; containers and stores go on from 14.
TEST(AutomationLayoutTest, MapiPropertyObjectSlots) {
  using P = IMAPIProp;
  expectSlotsFrom(3, {slotOf(&P::GetLastError), slotOf(&P::SaveChanges), slotOf(&P::GetProps),
                      slotOf(&P::GetPropList), slotOf(&P::OpenProperty), slotOf(&P::SetProps),
                      slotOf(&P::DeleteProps), slotOf(&P::CopyTo), slotOf(&P::CopyProps),
                      slotOf(&P::GetNamesFromIDs), slotOf(&P::GetIDsFromNames)});
  using C = IMAPIContainer;
  expectSlotsFrom(14, {slotOf(&C::GetContentsTable), slotOf(&C::GetHierarchyTable), slotOf(&C::OpenEntry),
                       slotOf(&C::SetSearchCriteria), slotOf(&C::GetSearchCriteria)});
  using F = IMAPIFolder;
  expectSlotsFrom(19, {slotOf(&F::CreateMessage), slotOf(&F::CopyMessages), slotOf(&F::DeleteMessages),
                       slotOf(&F::CreateFolder), slotOf(&F::CopyFolder), slotOf(&F::DeleteFolder),
                       slotOf(&F::SetReadFlags), slotOf(&F::GetMessageStatus), slotOf(&F::SetMessageStatus),
                       slotOf(&F::SaveContentsSort), slotOf(&F::EmptyFolder)});
  using S = IMsgStore;
  expectSlotsFrom(14, {slotOf(&S::Advise), slotOf(&S::Unadvise), slotOf(&S::CompareEntryIDs), slotOf(&S::OpenEntry),
                       slotOf(&S::SetReceiveFolder), slotOf(&S::GetReceiveFolder),
                       slotOf(&S::GetReceiveFolderTable), slotOf(&S::StoreLogoff), slotOf(&S::AbortSubmit),
                       slotOf(&S::GetOutgoingQueue), slotOf(&S::SetLockState), slotOf(&S::FinishedMsg),
                       slotOf(&S::NotifyNewMail)});
}

TEST(AutomationLayoutTest, MapiSessionSlots) {
  using S = IMAPISession;
  expectSlotsFrom(3, {slotOf(&S::GetLastError), slotOf(&S::GetMsgStoresTable), slotOf(&S::OpenMsgStore),
                      slotOf(&S::OpenAddressBook), slotOf(&S::OpenProfileSection), slotOf(&S::GetStatusTable),
                      slotOf(&S::OpenEntry), slotOf(&S::CompareEntryIDs), slotOf(&S::Advise),
                      slotOf(&S::Unadvise), slotOf(&S::MessageOptions), slotOf(&S::QueryDefaultMessageOpt),
                      slotOf(&S::EnumAdrTypes), slotOf(&S::QueryIdentity), slotOf(&S::Logoff),
                      slotOf(&S::SetDefaultStore), slotOf(&S::AdminServices), slotOf(&S::ShowForm),
                      slotOf(&S::PrepareForm)});
}

}  // namespace
