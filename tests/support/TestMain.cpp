#include <gtest/gtest.h>

#include <cstdio>

// Like gtest_main, but a run whose filter selects no test fails: every CTest entry must test something.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const int iRet = RUN_ALL_TESTS();
    if (::testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::fprintf(stderr, "no test selected\n");
        return 1;
    }
    return iRet;
}
