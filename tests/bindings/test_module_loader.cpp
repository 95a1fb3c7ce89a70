// The one loading interface of both bindings: its three results, for both mechanisms.
#include "bindings/CLS_ModuleLoader.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using Mechanism = CLS_ModuleLoader::n_Mechanism;
using Load = CLS_ModuleLoader::n_Load;

class ModuleLoader : public ::testing::TestWithParam<Mechanism> {
protected:
    // Loads a file that does not exist with the binding's "already loaded" answer given; the result
    // and how often the binding was asked to bind.
    std::pair<Load, int> LoadMissing(bool _blAlreadyLoaded) {
        int iBinds = 0;
        const Load eLoad = CLS_ModuleLoader::Load(
            GetParam(), "no_such_library.dll", [=] { return _blAlreadyLoaded; },
            [&](const CLS_ModuleLoader::CLS_Module&) { ++iBinds; });
        return {eLoad, iBinds};
    }
};

TEST_P(ModuleLoader, AnAlreadyLoadedBindingOpensNothing) {
    EXPECT_EQ(LoadMissing(true), std::make_pair(Load::AlreadyLoaded, 0));
}

TEST_P(ModuleLoader, AMissingFileIsNotLoadedAndNotBound) {
    EXPECT_EQ(LoadMissing(false), std::make_pair(Load::NotLoaded, 0));
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
