// The demo's command line: --help lists every option and exits 0; a bad option or value exits 2
// with one line naming the option and the values it allows, before anything is played.
#include "DemoSupport.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace {

ProgramRun RunDemo(const QStringList& _qlistArgs) {
    return RunProgram(QStringLiteral(FISHPLAYER_DEMO_PATH), _qlistArgs, 30000);
}

TEST(DemoOptions, HelpListsEveryOptionAndExitsZero) {
    for (const char* pcHelp : {"--help", "-h"}) {
        const ProgramRun tResult = RunDemo({QString::fromLatin1(pcHelp)});
        EXPECT_EQ(tResult.m_iExit, 0) << pcHelp;
        EXPECT_TRUE(tResult.m_strErr.empty()) << tResult.m_strErr;
        for (const char* pcOption : {"--out", "--size", "--mount", "--sheet-width", "--scale", "--transport",
                                     "--timeout", "--fast", "--step-seconds", "--renderer", "--help"})
            EXPECT_TRUE(tResult.m_strOut.find(pcOption) != std::string::npos) << pcOption << " missing from\n"
                                                                              << tResult.m_strOut;
        EXPECT_TRUE(tResult.m_strOut.find("1 (wall), 2 (ceiling) or 3 (floor)") != std::string::npos);
    }
}

TEST(DemoOptions, BadOptionsExitTwoWithOneLineNamingTheOptionAndItsValues) {
    struct Case {
        QStringList m_qlistArgs;
        const char* m_pcLine;
    };
    const Case aCases[] = {
        {{QStringLiteral("--mount"), QStringLiteral("7")},
         "fishplayer_demo: --mount '7' refused: 1 (wall), 2 (ceiling) or 3 (floor)\n"},
        {{QStringLiteral("--mount"), QStringLiteral("4")},
         "fishplayer_demo: --mount '4' refused: 1 (wall), 2 (ceiling) or 3 (floor)\n"},
        {{QStringLiteral("--mount"), QStringLiteral("abc")},
         "fishplayer_demo: --mount 'abc' refused: 1 (wall), 2 (ceiling) or 3 (floor)\n"},
        {{QStringLiteral("--size"), QStringLiteral("0x0")},
         "fishplayer_demo: --size '0x0' refused: WIDTHxHEIGHT, each side from 16 to 16384 pixels\n"},
        {{QStringLiteral("--size"), QStringLiteral("-5x10")},
         "fishplayer_demo: --size '-5x10' refused: WIDTHxHEIGHT, each side from 16 to 16384 pixels\n"},
        {{QStringLiteral("--size"), QStringLiteral("99999999x2")},
         "fishplayer_demo: --size '99999999x2' refused: WIDTHxHEIGHT, each side from 16 to 16384 pixels\n"},
        {{QStringLiteral("--size"), QStringLiteral("640")},
         "fishplayer_demo: --size '640' refused: WIDTHxHEIGHT, each side from 16 to 16384 pixels\n"},
        {{QStringLiteral("--scale"), QStringLiteral("9")},
         "fishplayer_demo: --scale '9' refused: a number from 0.1 to 4\n"},
        {{QStringLiteral("--scale"), QStringLiteral("nan")},
         "fishplayer_demo: --scale 'nan' refused: a number from 0.1 to 4\n"},
        {{QStringLiteral("--sheet-width"), QStringLiteral("100")},
         "fishplayer_demo: --sheet-width '100' refused: a whole number from 320 to 8192\n"},
        {{QStringLiteral("--transport"), QStringLiteral("sctp")},
         "fishplayer_demo: --transport 'sctp' refused: one of tcp, udp\n"},
        {{QStringLiteral("--renderer"), QStringLiteral("GL")},
         "fishplayer_demo: --renderer 'GL' refused: one of gl, cpu, auto\n"},
        {{QStringLiteral("--renderer")}, "fishplayer_demo: --renderer needs a value: one of gl, cpu, auto\n"},
        {{QStringLiteral("--timeout"), QStringLiteral("0")},
         "fishplayer_demo: --timeout '0' refused: a number from 0.5 to 120\n"},
        {{QStringLiteral("--step-seconds"), QStringLiteral("x")},
         "fishplayer_demo: --step-seconds 'x' refused: a number from 0.2 to 600\n"},
        {{QStringLiteral("--bogus")}, "fishplayer_demo: unknown option --bogus (--help lists the options)\n"},
        {{QStringLiteral("--mount")},
         "fishplayer_demo: --mount needs a value: 1 (wall), 2 (ceiling) or 3 (floor)\n"},
        {{QStringLiteral("a.h264"), QStringLiteral("b.h264")},
         "fishplayer_demo: a second input 'b.h264': the demo plays one\n"},
    };
    for (const Case& tCase : aCases) {
        const ProgramRun tResult = RunDemo(tCase.m_qlistArgs);
        EXPECT_EQ(tResult.m_iExit, 2) << qPrintable(tCase.m_qlistArgs.join(QLatin1Char(' ')));
        EXPECT_EQ(tResult.m_strErr, tCase.m_pcLine);
        EXPECT_TRUE(tResult.m_strOut.empty()) << tResult.m_strOut;
    }
}

TEST(DemoOptions, AnUnusuallySmallSizeIsAcceptedAndSaid) {
    // No such input: the run fails after the options, which were accepted with a note.
    const ProgramRun tResult =
        RunDemo({QStringLiteral("/nonexistent/clip.h264"), QStringLiteral("--size"), QStringLiteral("16x16"),
                 QStringLiteral("--out"), QStringLiteral("/nonexistent/out")});
    EXPECT_NE(tResult.m_iExit, 2);
    EXPECT_EQ(
        tResult.m_strErr.rfind(
            "fishplayer_demo: note: --size 16x16 is unusually small: pictures this size look coarse\n", 0),
        0u)
        << tResult.m_strErr;
}

} // namespace
