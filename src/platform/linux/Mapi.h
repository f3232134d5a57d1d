// The MAPI subset the product uses, for the Linux build: memory functions, the property
// structures that cross the store contract, rows, restrictions, and the session, table,
// store, folder and property interfaces. Layouts, tags and IIDs are
// those of the published MAPI headers. There is no MAPI subsystem on Linux: the memory
// functions are supplied by the in-process reference store (src/store/reference).
#pragma once

#include "platform/linux/Com.h"
#include "platform/linux/Types.h"

typedef LONG SCODE;
typedef GUID* LPGUID;
typedef const IID* LPCIID;

#define MAPI_DIM 1

// Defined in platform/MapiGuids.cpp.
extern "C" const IID IID_IMAPISession;
extern "C" const IID IID_IMAPITable;
extern "C" const IID IID_IMAPIProp;
extern "C" const IID IID_IMsgStore;
extern "C" const IID IID_IMAPIContainer;
extern "C" const IID IID_IMAPIFolder;

// The three memory functions and their pointer types. A block from MAPIAllocateMore
// belongs to its root and is freed with it; it must never be freed on its own.
typedef SCODE(STDMETHODCALLTYPE ALLOCATEBUFFER)(ULONG cbSize, LPVOID* lppBuffer);
typedef SCODE(STDMETHODCALLTYPE ALLOCATEMORE)(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
typedef ULONG(STDMETHODCALLTYPE FREEBUFFER)(LPVOID lpBuffer);
typedef ALLOCATEBUFFER* LPALLOCATEBUFFER;
typedef ALLOCATEMORE* LPALLOCATEMORE;
typedef FREEBUFFER* LPFREEBUFFER;

SCODE STDMETHODCALLTYPE MAPIAllocateBuffer(ULONG cbSize, LPVOID* lppBuffer);
SCODE STDMETHODCALLTYPE MAPIAllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
ULONG STDMETHODCALLTYPE MAPIFreeBuffer(LPVOID lpBuffer);

struct SBinary {
  ULONG cb;
  LPBYTE lpb;
};
typedef SBinary* LPSBinary;

struct SBinaryArray {
  ULONG cValues;
  SBinary* lpbin;
};

struct SPropTagArray {
  ULONG cValues;
  ULONG aulPropTag[MAPI_DIM];
};
typedef SPropTagArray* LPSPropTagArray;

#define PROP_TYPE(ulPropTag) ((ULONG)(ulPropTag)&0xFFFFu)
#define PROP_ID(ulPropTag) (((ULONG)(ulPropTag)) >> 16)
#define PROP_TAG(ulPropType, ulPropID) ((((ULONG)(ulPropID)) << 16) | ((ULONG)(ulPropType)))
#define PT_UNSPECIFIED ((ULONG)0)
#define PT_NULL ((ULONG)1)
#define PT_I2 ((ULONG)2)
#define PT_LONG ((ULONG)3)
#define PT_BOOLEAN ((ULONG)11)
#define PT_OBJECT ((ULONG)13)
#define PT_I8 ((ULONG)20)
#define PT_STRING8 ((ULONG)30)
#define PT_UNICODE ((ULONG)31)
#define PT_SYSTIME ((ULONG)64)
#define PT_CLSID ((ULONG)72)
#define PT_BINARY ((ULONG)258)
#define PT_ERROR ((ULONG)10)

// The value union: every member the product reads, plus the wide ones that fix its size
// (16 bytes on x64, as SBinary and LARGE_INTEGER).
union _PV {
  short int i;
  LONG l;
  ULONG ul;
  float flt;
  double dbl;
  unsigned short int b;
  FILETIME ft;
  LPSTR lpszA;
  SBinary bin;
  LPWSTR lpszW;
  LPGUID lpguid;
  LARGE_INTEGER li;
  SCODE err;
  LONG x;
};

struct SPropValue {
  ULONG ulPropTag;
  ULONG dwAlignPad;
  union _PV Value;
};
typedef SPropValue* LPSPropValue;

struct SPropProblem {
  ULONG ulIndex;
  ULONG ulPropTag;
  SCODE scode;
};
struct SPropProblemArray {
  ULONG cProblem;
  SPropProblem aProblem[MAPI_DIM];
};
typedef SPropProblemArray* LPSPropProblemArray;

// Declared only to complete IMAPIProp's slots; the product never looks inside them.
struct MAPIERROR;
typedef MAPIERROR* LPMAPIERROR;
struct MAPINAMEID;
typedef MAPINAMEID* LPMAPINAMEID;
struct IMAPIProgress;
typedef IMAPIProgress* LPMAPIPROGRESS;

struct IMAPIProp : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
  virtual HRESULT STDMETHODCALLTYPE SaveChanges(ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetProps(LPSPropTagArray lpPropTagArray, ULONG ulFlags, ULONG* lpcValues,
                                             LPSPropValue* lppPropArray) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPropList(ULONG ulFlags, LPSPropTagArray* lppPropTagArray) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenProperty(ULONG ulPropTag, LPCIID lpiid, ULONG ulInterfaceOptions,
                                                 ULONG ulFlags, LPUNKNOWN* lppUnk) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetProps(ULONG cValues, LPSPropValue lpPropArray,
                                             LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteProps(LPSPropTagArray lpPropTagArray, LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyTo(ULONG ciidExclude, LPCIID rgiidExclude, LPSPropTagArray lpExcludeProps,
                                           ULONG ulUIParam, LPMAPIPROGRESS lpProgress, LPCIID lpInterface,
                                           LPVOID lpDestObj, ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyProps(LPSPropTagArray lpIncludeProps, ULONG ulUIParam,
                                              LPMAPIPROGRESS lpProgress, LPCIID lpInterface, LPVOID lpDestObj,
                                              ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNamesFromIDs(LPSPropTagArray* lppPropTags, LPGUID lpPropSetGuid,
                                                    ULONG ulFlags, ULONG* lpcPropNames,
                                                    LPMAPINAMEID** lpppPropNames) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIDsFromNames(ULONG cPropNames, LPMAPINAMEID* lppPropNames, ULONG ulFlags,
                                                    LPSPropTagArray* lppPropTags) = 0;

 protected:
  ~IMAPIProp() = default;
};
typedef IMAPIProp* LPMAPIPROP;

// The tags store discovery reads.
#define PR_ENTRYID PROP_TAG(PT_BINARY, 0x0FFF)
#define PR_RECORD_KEY PROP_TAG(PT_BINARY, 0x0FF9)
#define PR_DISPLAY_NAME_W PROP_TAG(PT_UNICODE, 0x3001)
#define PR_PROVIDER_DISPLAY_W PROP_TAG(PT_UNICODE, 0x3006)
#define PR_RESOURCE_FLAGS PROP_TAG(PT_LONG, 0x3009)
#define PR_DEFAULT_STORE PROP_TAG(PT_BOOLEAN, 0x3400)
#define PR_MDB_PROVIDER PROP_TAG(PT_BINARY, 0x3414)
#define PR_SERVICE_UID PROP_TAG(PT_BINARY, 0x3D0C)

#define MAPI_MODIFY ((ULONG)0x00000001)
#define MAPI_BEST_ACCESS ((ULONG)0x00000010)
#define MAPI_UNICODE ((ULONG)0x80000000)
#define MAPI_DEFERRED_ERRORS ((ULONG)0x00000008)
#define TBL_BATCH ((ULONG)0x00000002)

struct SRow {
  ULONG ulAdrEntryPad;
  ULONG cValues;
  LPSPropValue lpProps;
};
typedef SRow* LPSRow;

struct SRowSet {
  ULONG cRows;
  SRow aRow[MAPI_DIM];
};
typedef SRowSet* LPSRowSet;

struct SRestriction;
typedef SRestriction* LPSRestriction;

#define RES_AND ((ULONG)0x00000000)
#define RES_OR ((ULONG)0x00000001)
#define RES_NOT ((ULONG)0x00000002)
#define RES_CONTENT ((ULONG)0x00000003)
#define RES_PROPERTY ((ULONG)0x00000004)
#define RES_COMPAREPROPS ((ULONG)0x00000005)
#define RES_BITMASK ((ULONG)0x00000006)
#define RES_SIZE ((ULONG)0x00000007)
#define RES_EXIST ((ULONG)0x00000008)
#define RES_SUBRESTRICTION ((ULONG)0x00000009)
#define RES_COMMENT ((ULONG)0x0000000A)

#define RELOP_LT ((ULONG)0)
#define RELOP_LE ((ULONG)1)
#define RELOP_GT ((ULONG)2)
#define RELOP_GE ((ULONG)3)
#define RELOP_EQ ((ULONG)4)
#define RELOP_NE ((ULONG)5)
#define RELOP_RE ((ULONG)6)

struct SAndRestriction {
  ULONG cRes;
  LPSRestriction lpRes;
};
struct SOrRestriction {
  ULONG cRes;
  LPSRestriction lpRes;
};
struct SNotRestriction {
  ULONG ulReserved;
  LPSRestriction lpRes;
};
struct SContentRestriction {
  ULONG ulFuzzyLevel;
  ULONG ulPropTag;
  LPSPropValue lpProp;
};
struct SBitMaskRestriction {
  ULONG relBMR;
  ULONG ulPropTag;
  ULONG ulMask;
};
struct SPropertyRestriction {
  ULONG relop;
  ULONG ulPropTag;
  LPSPropValue lpProp;
};
struct SComparePropsRestriction {
  ULONG relop;
  ULONG ulPropTag1;
  ULONG ulPropTag2;
};
struct SSizeRestriction {
  ULONG relop;
  ULONG ulPropTag;
  ULONG cb;
};
struct SExistRestriction {
  ULONG ulReserved1;
  ULONG ulPropTag;
  ULONG ulReserved2;
};
struct SSubRestriction {
  ULONG ulSubObject;
  LPSRestriction lpRes;
};
struct SCommentRestriction {
  ULONG cValues;
  LPSRestriction lpRes;
  LPSPropValue lpProp;
};

struct SRestriction {
  ULONG rt;
  union {
    SComparePropsRestriction resCompareProps;
    SAndRestriction resAnd;
    SOrRestriction resOr;
    SNotRestriction resNot;
    SContentRestriction resContent;
    SPropertyRestriction resProperty;
    SBitMaskRestriction resBitMask;
    SSizeRestriction resSize;
    SExistRestriction resExist;
    SSubRestriction resSub;
    SCommentRestriction resComment;
  } res;
};

struct ENTRYID {
  BYTE abFlags[4];
  BYTE ab[MAPI_DIM];
};
typedef ENTRYID* LPENTRYID;
typedef SBinaryArray ENTRYLIST;
typedef ENTRYLIST* LPENTRYLIST;
struct MAPIUID {
  BYTE ab[16];
};
typedef MAPIUID* LPMAPIUID;
typedef ULONG_PTR BOOKMARK;
#define BOOKMARK_BEGINNING ((BOOKMARK)0)
#define BOOKMARK_CURRENT ((BOOKMARK)1)
#define BOOKMARK_END ((BOOKMARK)2)
typedef WCHAR* LPTSTR;

// Declared only to complete the slots below; the product never looks inside them.
struct SSortOrderSet;
typedef SSortOrderSet* LPSSortOrderSet;
struct IMAPIAdviseSink;
typedef IMAPIAdviseSink* LPMAPIADVISESINK;
struct NOTIFICATION;
typedef NOTIFICATION* LPNOTIFICATION;
struct IMessage;
typedef IMessage* LPMESSAGE;
struct IAddrBook;
typedef IAddrBook* LPADRBOOK;
struct IProfSect;
typedef IProfSect* LPPROFSECT;
struct IMsgServiceAdmin;
typedef IMsgServiceAdmin* LPSERVICEADMIN;

struct IMAPITable : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
  virtual HRESULT STDMETHODCALLTYPE Advise(ULONG ulEventMask, LPMAPIADVISESINK lpAdviseSink,
                                           ULONG* lpulConnection) = 0;
  virtual HRESULT STDMETHODCALLTYPE Unadvise(ULONG ulConnection) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetStatus(ULONG* lpulTableStatus, ULONG* lpulTableType) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetColumns(LPSPropTagArray lpPropTagArray, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryColumns(ULONG ulFlags, LPSPropTagArray* lpPropTagArray) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRowCount(ULONG ulFlags, ULONG* lpulCount) = 0;
  virtual HRESULT STDMETHODCALLTYPE SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) = 0;
  virtual HRESULT STDMETHODCALLTYPE SeekRowApprox(ULONG ulNumerator, ULONG ulDenominator) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryPosition(ULONG* lpulRow, ULONG* lpulNumerator, ULONG* lpulDenominator) = 0;
  virtual HRESULT STDMETHODCALLTYPE FindRow(LPSRestriction lpRestriction, BOOKMARK bkOrigin, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE Restrict(LPSRestriction lpRestriction, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateBookmark(BOOKMARK* lpbkPosition) = 0;
  virtual HRESULT STDMETHODCALLTYPE FreeBookmark(BOOKMARK bkPosition) = 0;
  virtual HRESULT STDMETHODCALLTYPE SortTable(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE QuerySortOrder(LPSSortOrderSet* lppSortCriteria) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryRows(LONG lRowCount, ULONG ulFlags, LPSRowSet* lppRows) = 0;
  virtual HRESULT STDMETHODCALLTYPE Abort() = 0;
  virtual HRESULT STDMETHODCALLTYPE ExpandRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulRowCount,
                                              ULONG ulFlags, LPSRowSet* lppRows, ULONG* lpulMoreRows) = 0;
  virtual HRESULT STDMETHODCALLTYPE CollapseRow(ULONG cbInstanceKey, LPBYTE pbInstanceKey, ULONG ulFlags,
                                                ULONG* lpulRowCount) = 0;
  virtual HRESULT STDMETHODCALLTYPE WaitForCompletion(ULONG ulFlags, ULONG ulTimeout, ULONG* lpulTableStatus) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetCollapseState(ULONG ulFlags, ULONG cbInstanceKey, LPBYTE lpbInstanceKey,
                                                     ULONG* lpcbCollapseState, LPBYTE* lppbCollapseState) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetCollapseState(ULONG ulFlags, ULONG cbCollapseState, LPBYTE pbCollapseState,
                                                     BOOKMARK* lpbkLocation) = 0;

 protected:
  ~IMAPITable() = default;
};
typedef IMAPITable* LPMAPITABLE;

struct IMAPIContainer : public IMAPIProp {
  virtual HRESULT STDMETHODCALLTYPE GetContentsTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetHierarchyTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                                              ULONG ulFlags, ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetSearchCriteria(LPSRestriction lpRestriction, LPENTRYLIST lpContainerList,
                                                      ULONG ulSearchFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetSearchCriteria(ULONG ulFlags, LPSRestriction* lppRestriction,
                                                      LPENTRYLIST* lppContainerList, ULONG* lpulSearchState) = 0;

 protected:
  ~IMAPIContainer() = default;
};

struct IMAPIFolder;
typedef IMAPIFolder* LPMAPIFOLDER;

struct IMAPIFolder : public IMAPIContainer {
  virtual HRESULT STDMETHODCALLTYPE CreateMessage(LPCIID lpInterface, ULONG ulFlags, LPMESSAGE* lppMessage) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyMessages(LPENTRYLIST lpMsgList, LPCIID lpInterface, LPVOID lpDestFolder,
                                                 ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteMessages(LPENTRYLIST lpMsgList, ULONG_PTR ulUIParam,
                                                   LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateFolder(ULONG ulFolderType, LPTSTR lpszFolderName,
                                                 LPTSTR lpszFolderComment, LPCIID lpInterface, ULONG ulFlags,
                                                 LPMAPIFOLDER* lppFolder) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyFolder(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                                               LPVOID lpDestFolder, LPTSTR lpszNewFolderName, ULONG_PTR ulUIParam,
                                               LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteFolder(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG_PTR ulUIParam,
                                                 LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetReadFlags(LPENTRYLIST lpMsgList, ULONG_PTR ulUIParam,
                                                 LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMessageStatus(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags,
                                                     ULONG* lpulMessageStatus) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetMessageStatus(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulNewStatus,
                                                     ULONG ulNewStatusMask, ULONG* lpulOldStatus) = 0;
  virtual HRESULT STDMETHODCALLTYPE SaveContentsSort(LPSSortOrderSet lpSortCriteria, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE EmptyFolder(ULONG_PTR ulUIParam, LPMAPIPROGRESS lpProgress, ULONG ulFlags) = 0;

 protected:
  ~IMAPIFolder() = default;
};

struct IMsgStore : public IMAPIProp {
  virtual HRESULT STDMETHODCALLTYPE Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                                           LPMAPIADVISESINK lpAdviseSink, ULONG* lpulConnection) = 0;
  virtual HRESULT STDMETHODCALLTYPE Unadvise(ULONG ulConnection) = 0;
  virtual HRESULT STDMETHODCALLTYPE CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                    LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                                              ULONG ulFlags, ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags, ULONG cbEntryID,
                                                     LPENTRYID lpEntryID) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags, ULONG* lpcbEntryID,
                                                     LPENTRYID* lppEntryID, LPTSTR* lppszExplicitClass) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetReceiveFolderTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
  virtual HRESULT STDMETHODCALLTYPE StoreLogoff(ULONG* lpulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE AbortSubmit(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetOutgoingQueue(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetLockState(LPMESSAGE lpMessage, ULONG ulLockState) = 0;
  virtual HRESULT STDMETHODCALLTYPE FinishedMsg(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
  virtual HRESULT STDMETHODCALLTYPE NotifyNewMail(LPNOTIFICATION lpNotification) = 0;

 protected:
  ~IMsgStore() = default;
};
typedef IMsgStore* LPMDB;

struct IMAPISession : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMsgStoresTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenMsgStore(ULONG_PTR ulUIParam, ULONG cbEntryID, LPENTRYID lpEntryID,
                                                 LPCIID lpInterface, ULONG ulFlags, LPMDB* lppMDB) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenAddressBook(ULONG_PTR ulUIParam, LPCIID lpInterface, ULONG ulFlags,
                                                    LPADRBOOK* lppAdrBook) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenProfileSection(LPMAPIUID lpUID, LPCIID lpInterface, ULONG ulFlags,
                                                       LPPROFSECT* lppProfSect) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetStatusTable(ULONG ulFlags, LPMAPITABLE* lppTable) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenEntry(ULONG cbEntryID, LPENTRYID lpEntryID, LPCIID lpInterface,
                                              ULONG ulFlags, ULONG* lpulObjType, LPUNKNOWN* lppUnk) = 0;
  virtual HRESULT STDMETHODCALLTYPE CompareEntryIDs(ULONG cbEntryID1, LPENTRYID lpEntryID1, ULONG cbEntryID2,
                                                    LPENTRYID lpEntryID2, ULONG ulFlags, ULONG* lpulResult) = 0;
  virtual HRESULT STDMETHODCALLTYPE Advise(ULONG cbEntryID, LPENTRYID lpEntryID, ULONG ulEventMask,
                                           LPMAPIADVISESINK lpAdviseSink, ULONG* lpulConnection) = 0;
  virtual HRESULT STDMETHODCALLTYPE Unadvise(ULONG ulConnection) = 0;
  virtual HRESULT STDMETHODCALLTYPE MessageOptions(ULONG_PTR ulUIParam, ULONG ulFlags, LPTSTR lpszAdrType,
                                                   LPMESSAGE lpMessage) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryDefaultMessageOpt(LPTSTR lpszAdrType, ULONG ulFlags, ULONG* lpcValues,
                                                           LPSPropValue* lppOptions) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumAdrTypes(ULONG ulFlags, ULONG* lpcAdrTypes, LPTSTR** lpppszAdrTypes) = 0;
  virtual HRESULT STDMETHODCALLTYPE QueryIdentity(ULONG* lpcbEntryID, LPENTRYID* lppEntryID) = 0;
  virtual HRESULT STDMETHODCALLTYPE Logoff(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG ulReserved) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetDefaultStore(ULONG ulFlags, ULONG cbEntryID, LPENTRYID lpEntryID) = 0;
  virtual HRESULT STDMETHODCALLTYPE AdminServices(ULONG ulFlags, LPSERVICEADMIN* lppServiceAdmin) = 0;
  virtual HRESULT STDMETHODCALLTYPE ShowForm(ULONG_PTR ulUIParam, LPMDB lpMsgStore, LPMAPIFOLDER lpParentFolder,
                                             LPCIID lpInterface, ULONG ulMessageToken, LPMESSAGE lpMessageSent,
                                             ULONG ulFlags, ULONG ulMessageStatus, ULONG ulMessageFlags,
                                             ULONG ulAccess, LPSTR lpszMessageClass) = 0;
  virtual HRESULT STDMETHODCALLTYPE PrepareForm(LPCIID lpInterface, LPMESSAGE lpMessage, ULONG* lpulMessageToken) = 0;

 protected:
  ~IMAPISession() = default;
};
typedef IMAPISession* LPMAPISESSION;

// Every row's value array, then the row set, through MAPIFreeBuffer. Null is allowed.
void STDMETHODCALLTYPE FreeProws(LPSRowSet lpRows);
// GetProps of the one tag; a property the object lacks is MAPI_E_NOT_FOUND, and the value
// comes back in one MAPIAllocateBuffer block.
HRESULT STDMETHODCALLTYPE HrGetOneProp(LPMAPIPROP lpMapiProp, ULONG ulPropTag, LPSPropValue* lppProp);

static_assert(sizeof(SBinary) == 2 * sizeof(void*), "SBinary layout");
static_assert(sizeof(SPropValue) == 8 + sizeof(union _PV), "SPropValue layout");
static_assert(sizeof(SRow) == 8 + sizeof(void*), "SRow layout");
static_assert(sizeof(SRestriction) == 8 + 3 * sizeof(void*), "SRestriction layout");
