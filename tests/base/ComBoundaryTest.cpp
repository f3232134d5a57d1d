#include <gtest/gtest.h>

#include <cctype>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

#include "base/ComBoundary.h"
#include "base/SizeCast.h"

namespace {

struct BoundaryCase {
  const char* name;
  std::function<HRESULT()> run;
  HRESULT expected;
};

class ComBoundaryTest : public ::testing::TestWithParam<BoundaryCase> {};

TEST_P(ComBoundaryTest, TurnsTheOutcomeIntoOneCode) { EXPECT_EQ(GetParam().run(), GetParam().expected); }

const BoundaryCase kCases[] = {
    {"raised code", [] { return zelvo::comBoundary([]() -> HRESULT { ZEL_HERE.raise(STG_E_MEDIUMFULL); }); },
     STG_E_MEDIUMFULL},
    {"raised warning keeps its code",
     [] { return zelvo::comBoundary([]() -> HRESULT { ZEL_HERE.raise(MAPI_W_ERRORS_RETURNED); }); },
     MAPI_W_ERRORS_RETURNED},
    {"checked failure", [] { return zelvo::comBoundary([] { ZEL_CHECK(E_ACCESSDENIED); }); }, E_ACCESSDENIED},
    {"out of memory", [] { return zelvo::comBoundary([]() -> HRESULT { throw std::bad_alloc(); }); },
     E_OUTOFMEMORY},
    {"other standard exception",
     [] { return zelvo::comBoundary([]() -> HRESULT { throw std::runtime_error("x"); }); }, E_FAIL},
    {"narrowing overflow",
     [] { return zelvo::comBoundary([] { (void)size_cast<int>(static_cast<size_t>(0x80000000u)); }); }, E_FAIL},
    {"anything else", [] { return zelvo::comBoundary([]() -> HRESULT { throw 42; }); }, E_UNEXPECTED},
    {"body without a result", [] { return zelvo::comBoundary([] {}); }, S_OK},
    {"body's own success code", [] { return zelvo::comBoundary([] { return S_FALSE; }); }, S_FALSE},
    {"body's own failure code", [] { return zelvo::comBoundary([] { return DISP_E_MEMBERNOTFOUND; }); },
     DISP_E_MEMBERNOTFOUND},
};

INSTANTIATE_TEST_SUITE_P(Outcomes, ComBoundaryTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<BoundaryCase>& info) {
                           std::string name;
                           for (const char* p = info.param.name; *p; ++p) name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
                           return name;
                         });

}  // namespace
