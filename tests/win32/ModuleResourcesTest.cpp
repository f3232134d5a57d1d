// The built DravAddIn.dll as the host and tools see it: its exports, its type library
// against the tables the code answers by, and its resources against their sources.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "addin/registrar/AddInRegistration.h"
#include "addin/ribbon/Ribbon.h"
#include "base/ComRef.h"
#include "config/PropertyData.h"
#include "platform/Utf8.h"
#include "strings/Localization.h"
#include "testing/TestEnvironment.h"
#include "win32/ModuleRegistration.h"

using zelvo::testing::utf8;

namespace {

// The module beside the tests in the build folder, as a Windows path.
const wchar_t* modulePath() { return ZELVO_MODULE_PATH; }

std::string guidText(const GUID& guid) {
  wchar_t text[40];
  StringFromGUID2(guid, text, 40);
  return utf8(text);
}

class Module : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    module_ = LoadLibraryExW(modulePath(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
  }
  static void TearDownTestSuite() {
    if (module_) FreeLibrary(module_);
  }
  void SetUp() override { ASSERT_TRUE(module_) << utf8(modulePath()) << ": " << GetLastError(); }

  static std::string resourceBytes(const wchar_t* type, int id) {
    HRSRC found = FindResourceW(module_, MAKEINTRESOURCEW(id), type);
    if (!found) return {};
    const void* data = LockResource(LoadResource(module_, found));
    return std::string(static_cast<const char*>(data), SizeofResource(module_, found));
  }

  static HMODULE module_;
};
HMODULE Module::module_ = nullptr;

TEST_F(Module, ExportsTheFourEntryPointsOnly) {
  HMODULE code = LoadLibraryW(modulePath());
  ASSERT_TRUE(code);
  for (const char* name : {"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"})
    EXPECT_TRUE(GetProcAddress(code, name)) << name;
  EXPECT_FALSE(GetProcAddress(code, "DllInstall"));
  FreeLibrary(code);
}

TEST_F(Module, RibbonDocumentsAreTheSourcesBytes) {
  for (int id : {15000, 15001, 15002}) {
    const std::string bytes = resourceBytes(MAKEINTRESOURCEW(10) /* RT_RCDATA */, id);
    EXPECT_FALSE(bytes.empty()) << id;
    EXPECT_EQ(std::string(zelvo::addin::getRibbonXml(id)), bytes) << id;
  }
}

TEST_F(Module, RegistrationScriptIsTheSourceFile) {
  const std::string script = resourceBytes(L"REGISTRY", zelvo::addin::kRegistrationScriptResource);
  EXPECT_EQ(zelvo::testing::readFile(zelvo::testing::sourcePath("src/win32/DravAddIn.rgs")), script);
}

// Every text and icon the ribbon table names is in the module: the host gets the labels
// from the string table and the images as 16 and 32 pixel icons.
TEST_F(Module, RibbonTextsAndIconsArePresent) {
  for (int number = 0; number < zelvo::addin::kUnknownRibbonControl; ++number) {
    const auto* info = zelvo::addin::findRibbonControlInfo(number);
    ASSERT_TRUE(info) << number;
    for (unsigned id : {info->label, info->screenTip, info->superTip}) {
      if (!id) continue;
      const wchar_t* text = nullptr;
      const int length = LoadStringW(module_, id, reinterpret_cast<LPWSTR>(&text), 0);
      ASSERT_GT(length, 0) << "string " << id;
      EXPECT_EQ(utf8(Localization::getString(id)), utf8(std::wstring(text, length))) << "string " << id;
    }
    for (unsigned id : {info->imageEnabled, info->imageDisabled}) {
      if (!id) continue;
      for (int size : {16, 32}) {
        HICON icon = static_cast<HICON>(LoadImageW(module_, MAKEINTRESOURCEW(id), IMAGE_ICON, size, size, 0));
        ASSERT_TRUE(icon) << "icon " << id << " at " << size;
        ICONINFO iconInfo{};
        ASSERT_TRUE(GetIconInfo(icon, &iconInfo));
        BITMAP bitmap{};
        GetObjectW(iconInfo.hbmColor, sizeof bitmap, &bitmap);
        EXPECT_EQ(size, bitmap.bmWidth) << "icon " << id;
        DeleteObject(iconInfo.hbmColor);
        DeleteObject(iconInfo.hbmMask);
        DestroyIcon(icon);
      }
    }
  }
}

// The module holds exactly the icons of the pixel art, each once with its two images: an
// icon that a dialog names but nobody drew, or a second script of icons in the link, shows
// here.
TEST_F(Module, IconsAreThePixelArtEachOnce) {
  std::set<int> drawn;
  std::istringstream art(zelvo::testing::readFile(zelvo::testing::sourcePath("src/win32/icons/icons.txt")));
  for (std::string line; std::getline(art, line);) {
    std::istringstream words(line);
    std::string kind;
    int id = 0;
    if (words >> kind >> id && (kind == "icon" || kind == "grey")) drawn.insert(id);
  }
  ASSERT_FALSE(drawn.empty());
  for (int id : {251, 254, 261, 262, 263, 264}) EXPECT_EQ(drawn.count(id), 1u) << "icon " << id << " is not drawn";

  const auto collect = [](HMODULE, LPCWSTR, LPWSTR name, LONG_PTR names) -> BOOL {
    reinterpret_cast<std::multiset<int>*>(names)->insert(IS_INTRESOURCE(name) ? LOWORD(name) : -1);
    return TRUE;
  };
  std::multiset<int> groups, images;
  EnumResourceNamesW(module_, MAKEINTRESOURCEW(14) /* RT_GROUP_ICON */, collect, reinterpret_cast<LONG_PTR>(&groups));
  EnumResourceNamesW(module_, MAKEINTRESOURCEW(3) /* RT_ICON */, collect, reinterpret_cast<LONG_PTR>(&images));
  EXPECT_EQ(std::set<int>(groups.begin(), groups.end()), drawn);
  EXPECT_EQ(groups.size(), drawn.size());
  EXPECT_EQ(images.size(), 2 * drawn.size()) << "a 16 and a 32 pixel image each, and no copies";
}

TEST_F(Module, ThemingManifestsAndVersionArePresent) {
  for (int id : {1, 2}) {
    const std::string manifest = resourceBytes(MAKEINTRESOURCEW(24) /* RT_MANIFEST */, id);
    EXPECT_NE(std::string::npos, manifest.find("Microsoft.Windows.Common-Controls")) << id;
  }
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(modulePath(), &handle);
  ASSERT_GT(size, 0u);
  std::string block(size, '\0');
  ASSERT_TRUE(GetFileVersionInfoW(modulePath(), 0, size, &block[0]));
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT fixedSize = 0;
  ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &fixedSize));
  EXPECT_EQ(static_cast<DWORD>(VFT_DLL), fixed->dwFileType);
}

// The class factory and the unload rule, through the module's exports as COM calls them.
class ModuleExports : public ::testing::Test {
 protected:
  using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
  using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();

  void SetUp() override {
    code_ = LoadLibraryW(modulePath());
    ASSERT_TRUE(code_);
    getClassObject_ =
        reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(GetProcAddress(code_, "DllGetClassObject")));
    canUnloadNow_ = reinterpret_cast<CanUnloadNow>(reinterpret_cast<void*>(GetProcAddress(code_, "DllCanUnloadNow")));
    ASSERT_TRUE(getClassObject_ && canUnloadNow_);
    ASSERT_EQ(S_OK, CLSIDFromString(zelvo::addin::kAddInClassId, &classId_));
  }
  void TearDown() override { FreeLibrary(code_); }

  HMODULE code_ = nullptr;
  GetClassObject getClassObject_ = nullptr;
  CanUnloadNow canUnloadNow_ = nullptr;
  CLSID classId_{};
};

TEST_F(ModuleExports, FactoryMakesTheAddInAndEachHoldsTheModule) {
  ComRef<IUnknown> other;
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, getClassObject_(IID_IDispatch, IID_IClassFactory, other.putVoid()));
  EXPECT_FALSE(other);
  EXPECT_EQ(E_POINTER, getClassObject_(classId_, IID_IClassFactory, nullptr));
  EXPECT_EQ(S_OK, canUnloadNow_());

  ComRef<IClassFactory> factory;
  ASSERT_EQ(S_OK, getClassObject_(classId_, IID_IClassFactory, factory.putVoid()));
  EXPECT_EQ(S_FALSE, canUnloadNow_()) << "a factory holds the module";

  ComRef<IDispatch> addIn;
  EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(factory.get(), IID_IDispatch, addIn.putVoid()));
  EXPECT_FALSE(addIn);
  ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IID_IDispatch, addIn.putVoid()));
  ASSERT_TRUE(addIn);
  factory.reset();
  EXPECT_EQ(S_FALSE, canUnloadNow_()) << "the add-in object holds the module";
  addIn.reset();
  EXPECT_EQ(S_OK, canUnloadNow_());

  ASSERT_EQ(S_OK, getClassObject_(classId_, IID_IClassFactory, factory.putVoid()));
  ASSERT_EQ(S_OK, factory->LockServer(TRUE));
  factory.reset();
  EXPECT_EQ(S_FALSE, canUnloadNow_()) << "locked by the host";
  ASSERT_EQ(S_OK, getClassObject_(classId_, IID_IClassFactory, factory.putVoid()));
  ASSERT_EQ(S_OK, factory->LockServer(FALSE));
  factory.reset();
  EXPECT_EQ(S_OK, canUnloadNow_());
}

// Registration runs in the system's locale and gives the caller's back, even on failure.
TEST(SystemThreadLocale, HoldsForTheBodyAndIsRestoredAfterIt) {
  const LCID before = GetThreadLocale();
  const LCID german = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
  ASSERT_TRUE(SetThreadLocale(german));
  LCID inside = 0;
  EXPECT_EQ(42, zelvo::win32::withSystemThreadLocale([&] {
              inside = GetThreadLocale();
              return 42;
            }));
  EXPECT_EQ(GetSystemDefaultLCID(), inside);
  EXPECT_EQ(german, GetThreadLocale());
  EXPECT_THROW(zelvo::win32::withSystemThreadLocale([]() -> int { throw std::runtime_error("failed"); }),
               std::runtime_error);
  EXPECT_EQ(german, GetThreadLocale());
  SetThreadLocale(before);
}

// The type library, loaded from the module as a host or a tool loads it.
class TypeLibrary : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(S_OK, LoadTypeLibEx(modulePath(), REGKIND_NONE, library_.put())); }

  ComRef<ITypeInfo> info(const GUID& guid) {
    ComRef<ITypeInfo> result;
    EXPECT_EQ(S_OK, library_->GetTypeInfoOfGuid(guid, result.put())) << guidText(guid);
    return result;
  }

  ComRef<ITypeLib> library_;
};

// Each function's dispatch id with its name, in declared order.
std::vector<std::pair<MEMBERID, std::string>> members(ITypeInfo* info, TYPEKIND* kind = nullptr) {
  std::vector<std::pair<MEMBERID, std::string>> out;
  TYPEATTR* attributes = nullptr;
  if (info->GetTypeAttr(&attributes) != S_OK) return out;
  if (kind) *kind = attributes->typekind;
  for (UINT index = 0; index < attributes->cFuncs; ++index) {
    FUNCDESC* function = nullptr;
    if (info->GetFuncDesc(index, &function) != S_OK) continue;
    BSTR name = nullptr;
    UINT count = 0;
    info->GetNames(function->memid, &name, 1, &count);
    out.emplace_back(function->memid, count ? utf8(std::wstring(name, SysStringLen(name))) : std::string());
    SysFreeString(name);
    info->ReleaseFuncDesc(function);
  }
  info->ReleaseTypeAttr(attributes);
  return out;
}

TEST_F(TypeLibrary, IdentityVersionAndName) {
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(S_OK, library_->GetLibAttr(&attributes));
  EXPECT_EQ(utf8(zelvo::addin::kAddInTypeLibraryId), guidText(attributes->guid));
  EXPECT_EQ(1, attributes->wMajorVerNum);
  EXPECT_EQ(0, attributes->wMinorVerNum);
  EXPECT_EQ(SYS_WIN64, attributes->syskind);
  library_->ReleaseTLibAttr(attributes);
  BSTR name = nullptr;
  ASSERT_EQ(S_OK, library_->GetDocumentation(-1, &name, nullptr, nullptr, nullptr));
  EXPECT_EQ("DravAddIn", utf8(std::wstring(name, SysStringLen(name))));
  SysFreeString(name);
}

TEST_F(TypeLibrary, RibbonCallbacksCarryTheDispidsTheCodeAnswers) {
  // {9748CF69-41F6-49E8-ACF0-B1428DB96D62}
  const GUID callbacks = {0x9748CF69, 0x41F6, 0x49E8, {0xAC, 0xF0, 0xB1, 0x42, 0x8D, 0xB9, 0x6D, 0x62}};
  const auto callbackInfo = this->info(callbacks);
  ASSERT_TRUE(callbackInfo);
  TYPEKIND kind{};
  const auto found = members(callbackInfo.get(), &kind);
  EXPECT_EQ(TKIND_DISPATCH, kind);
  ASSERT_EQ(static_cast<std::size_t>(zelvo::addin::kRibbonCallbackCount), found.size());
  for (int dispid = 1; dispid <= zelvo::addin::kRibbonCallbackCount; ++dispid) {
    EXPECT_EQ(dispid, found[dispid - 1].first);
    EXPECT_EQ(utf8(zelvo::addin::getRibbonCallbackName(dispid)), found[dispid - 1].second) << dispid;
    // The host finds a name without regard to case, the XML's spelling among them.
    EXPECT_EQ(dispid, zelvo::addin::findRibbonCallbackDispid(platform::fromUtf8Lenient(found[dispid - 1].second)));
  }
}

struct DataCase {
  const GUID* iid;
  std::vector<std::pair<MEMBERID, std::string>> members;
};

TEST_F(TypeLibrary, DataObjectInterfacesMatchTheirIidsAndDispids) {
  using Data = MsoPropertyData;
  using Config = _ConfigProperties;
  using Folder = _FolderProperties;
  const std::vector<std::pair<MEMBERID, std::string>> common = {
      {Data::kDirty, "Dirty"}, {Data::kInitialize, "Initialize"}, {Data::kReset, "Reset"}, {Data::kApply, "Apply"}};
  auto with = [&](std::vector<std::pair<MEMBERID, std::string>> more) {
    more.insert(more.begin(), common.begin(), common.end());
    return more;
  };
  const DataCase cases[] = {
      {&IID_MsoPropertyData, common},
      {&IID__ConfigProperties, with({{Data::kGlobalConfig, "globalConfig"},
                                     {Config::kMailServerOptions, "MailServerOptions"},
                                     {Config::kSession, "session"},
                                     {Config::kDelegationList, "DelegationList"},
                                     {Config::kValidateSieveScript, "ValidateSieveScript"}})},
      {&IID__FolderProperties, with({{Data::kGlobalConfig, "globalConfig"},
                                     {Folder::kFolderConfig, "FolderConfig"},
                                     {Folder::kAccessRights, "AccessRights"},
                                     {Folder::kCheckNames, "CheckNames"},
                                     {Folder::kSynchronization, "Synchronization"},
                                     {Folder::kSynchronization, "Synchronization"},
                                     {Folder::kFolderType, "FolderType"},
                                     {Folder::kResynchronizeContents, "ResynchronizeContents"}})},
  };
  for (const auto& c : cases) {
    const auto dataInfo = this->info(*c.iid);
    ASSERT_TRUE(dataInfo) << guidText(*c.iid);
    EXPECT_EQ(c.members, members(dataInfo.get())) << guidText(*c.iid);
  }
}

TEST_F(TypeLibrary, PropertyPageInterfaceAndCoclasses) {
  // {831E68C7-7733-4CF4-9D2B-CF4F8B927E35}
  const GUID page = {0x831E68C7, 0x7733, 0x4CF4, {0x9D, 0x2B, 0xCF, 0x4F, 0x8B, 0x92, 0x7E, 0x35}};
  const auto pageInfo = this->info(page);
  ASSERT_TRUE(pageInfo);
  const std::vector<std::pair<MEMBERID, std::string>> expected = {
      {-518, "Caption"}, {-518, "Caption"}, {0x1001, "Properties"}, {0x1001, "Properties"}};
  EXPECT_EQ(expected, members(pageInfo.get()));

  const struct {
    const char* id;
    const char* name;
  } classes[] = {{"{BEE5E564-0C5E-4139-B60E-F92077A29CD6}", "UserInterface"},
                 {"{14F5911A-648F-4B0F-AA77-E10C35930847}", "FolderSharingProperties"},
                 {"{969E1036-E3B6-4A34-A208-24B6839ADD5F}", "OutOfOfficeOptions"},
                 {"{BF5F1FFF-A027-490C-8E84-4116BB1BA85A}", "MailServerOptions"},
                 {"{F1D9DA08-E7EF-4C90-BAD1-049E819D05EE}", "DelegationList"}};
  for (const auto& c : classes) {
    GUID guid{};
    ASSERT_EQ(S_OK, CLSIDFromString(platform::fromUtf8Lenient(c.id).c_str(), &guid));
    const auto coclass = this->info(guid);
    ASSERT_TRUE(coclass) << c.id;
    BSTR name = nullptr;
    ASSERT_EQ(S_OK, coclass->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr));
    EXPECT_EQ(c.name, utf8(std::wstring(name, SysStringLen(name))));
    SysFreeString(name);
  }
}

}  // namespace
