// The one loading interface of both bindings: its three results, for both mechanisms.
#include "bindings/CLS_ModuleLoader.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using Mechanism = CLS_ModuleLoader::n_Mechanism;
using Load = CLS_ModuleLoader::n_Load;

class ModuleLoader : public ::testing::TestWithParam<Mechanism> {};

TEST_P(ModuleLoader, AnAlreadyLoadedBindingOpensNothing) {
    int iBinds = 0;
    EXPECT_EQ(CLS_ModuleLoader::Load(
                  GetParam(), "no_such_library.dll", [] { return true; },
                  [&](const CLS_ModuleLoader::CLS_Module&) { ++iBinds; }),
              Load::AlreadyLoaded);
    EXPECT_EQ(iBinds, 0);
}

TEST_P(ModuleLoader, AMissingFileIsNotLoadedAndNotBound) {
    int iBinds = 0;
    EXPECT_EQ(CLS_ModuleLoader::Load(
                  GetParam(), "no_such_library.dll", [] { return false; },
                  [&](const CLS_ModuleLoader::CLS_Module&) { ++iBinds; }),
              Load::NotLoaded);
    EXPECT_EQ(iBinds, 0);
    EXPECT_TRUE(TestLog::Lines().empty()); // the caller says what failed
}

TEST_P(ModuleLoader, ALoadedFileResolvesByNameAndStaysLoaded) {
    void* pCreat = nullptr;
    void* pMissing = reinterpret_cast<void*>(1);
    void* hModule = reinterpret_cast<void*>(1);
    EXPECT_EQ(CLS_ModuleLoader::Load(
                  GetParam(), "zeb_algo_fcu.dll", [] { return false; },
                  [&](const CLS_ModuleLoader::CLS_Module& _tModule) {
                      pCreat = _tModule.Resolve("ZebAlgo_FCU_Creat");
                      pMissing = _tModule.Resolve("NoSuchExport");
                      hModule = _tModule.Handle();
                  }),
              Load::Loaded);
    EXPECT_NE(pCreat, nullptr);
    EXPECT_EQ(pMissing, nullptr);
    // The library was not closed when the load ended: its export is where it was resolved.
    EXPECT_EQ(LoadedSymbol("zeb_algo_fcu.dll", "ZebAlgo_FCU_Creat"), pCreat);
    EXPECT_EQ(hModule == nullptr, GetParam() == Mechanism::QtLibrary); // QLibrary keeps its own
}

INSTANTIATE_TEST_SUITE_P(BothMechanisms, ModuleLoader,
                         ::testing::Values(Mechanism::System, Mechanism::QtLibrary));

} // namespace
