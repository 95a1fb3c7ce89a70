// The source component on real files made with ffmpeg: what it reads of a stream, the packets it
// hands on, its pacing and holding, the failures of a source that shows no picture, and the
// latency meter.
#include "Loopback.h"
#include "MediaSource.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace fishsource;
using Clock = std::chrono::steady_clock;

constexpr auto WAIT_LIMIT = std::chrono::seconds(30);

std::string g_strDir;

bool Ffmpeg(const std::string& _strArgs) {
    const std::string strCommand = "ffmpeg -hide_banner -loglevel error -y " + _strArgs;
    const int iStatus = std::system(strCommand.c_str());
    return iStatus != -1 && WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0;
}

std::string Path(const std::string& _strName) {
    return g_strDir + "/" + _strName;
}

class SourceFiles : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        char acTemplate[] = "/tmp/fishsource-XXXXXX";
        ASSERT_NE(mkdtemp(acTemplate), nullptr);
        g_strDir = acTemplate;
        const std::string strScene = "-f lavfi -i testsrc=size=288x224:rate=25:duration=";
        const std::string strCodec = " -c:v libx264 -preset veryfast -g 25 -bf 0 -pix_fmt yuv420p ";
        ASSERT_TRUE(Ffmpeg(strScene + "1.2" + strCodec + "-f h264 " + Path("clip.h264")));
        ASSERT_TRUE(Ffmpeg("-i " + Path("clip.h264") + " -c copy " + Path("clip.mp4")));
        ASSERT_TRUE(Ffmpeg("-i " + Path("clip.h264") + " -c copy " + Path("clip.mkv")));
        ASSERT_TRUE(Ffmpeg(strScene + "3" + strCodec + Path("long.mp4")));
    }
    static void TearDownTestSuite() { std::system(("rm -rf " + g_strDir).c_str()); }

    // Every packet of a file, read through.
    static std::vector<VideoPacket> Packets(const std::string& _strPath, StreamInfo* _ptInfo = nullptr) {
        SourceReader tReader;
        ReaderSettings tSettings;
        tSettings.m_strUrl = _strPath;
        std::vector<VideoPacket> vecPackets;
        if (!tReader.Open(tSettings, nullptr).empty())
            return vecPackets;
        if (_ptInfo)
            *_ptInfo = tReader.Info();
        VideoPacket tPacket;
        std::string strError;
        while (tReader.Read(&tPacket, &strError) == 1 && vecPackets.size() < 10000)
            vecPackets.push_back(tPacket);
        return vecPackets;
    }
};

// What a source ends with, its callbacks' records and the time it took.
struct Outcome {
    SourceStatus m_tStatus;
    std::vector<SourceState> m_vecStates;
    long long m_llPackets = 0;
    double m_dSeconds = 0;
};

Outcome PlayToTheEnd(const SourceOptions& _tOptions, const MediaSource::PF_Sink& _pfSink,
                     const MediaSource::PF_Pictures& _pfPictures) {
    MediaSource tSource(_tOptions);
    Outcome tOutcome;
    EXPECT_EQ(tSource.Open(), "");
    std::mutex mutexStates;
    const Clock::time_point tStart = Clock::now();
    EXPECT_TRUE(tSource.Start(
        _pfSink,
        [&](const SourceStatus& _tStatus) {
            std::lock_guard<std::mutex> lock(mutexStates);
            tOutcome.m_vecStates.push_back(_tStatus.m_eState);
        },
        _pfPictures));
    while (Clock::now() - tStart < WAIT_LIMIT) {
        const SourceState eState = tSource.Status().m_eState;
        if (eState == SourceState::Ended || eState == SourceState::Failed)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    tOutcome.m_dSeconds = std::chrono::duration<double>(Clock::now() - tStart).count();
    tSource.Stop();
    tOutcome.m_tStatus = tSource.Status();
    tOutcome.m_llPackets = tSource.PacketsFed();
    return tOutcome;
}

TEST(StreamHeader, IsItsSizeWidthAndHeightLittleEndian) {
    const std::array<std::uint8_t, 12> acHeader = StreamHeader(288, 0x01020304);
    const std::array<std::uint8_t, 12> acExpected = {12, 0, 0, 0, 0x20, 0x01, 0, 0, 0x04, 0x03, 0x02, 0x01};
    EXPECT_EQ(acHeader, acExpected);
}

TEST(SourceText, NamesNetworkUrlsSizesAndTimes) {
    for (const char* pcUrl : {"rtsp://127.0.0.1/cam", "rtsps://h/c", "udp://127.0.0.1:5000", "rtp://h:1",
                              "http://h/x.mjpg", "https://h/x.ts", "tcp://h:1", "srt://h:1", "rtmp://h/a"})
        EXPECT_TRUE(IsNetworkUrl(pcUrl)) << pcUrl;
    for (const char* pcPath : {"clip.mp4", "/tmp/rtsp://x", "file:clip.mp4", "RTSP:/x", ""})
        EXPECT_FALSE(IsNetworkUrl(pcPath)) << pcPath;
    EXPECT_EQ(ByteCount(0), "0 bytes");
    EXPECT_EQ(ByteCount(1023), "1023 bytes");
    EXPECT_EQ(ByteCount(1024), "1.0 KB");
    EXPECT_EQ(ByteCount(8 * 1024 * 1024), "8.0 MB");
    EXPECT_EQ(Seconds(5000), "5.0 s");
    EXPECT_EQ(Seconds(1500), "1.5 s");
    EXPECT_STREQ(StateName(SourceState::Reconnecting), "reconnecting");
    EXPECT_STREQ(StateName(SourceState::Failed), "failed");
}

TEST(LatencyMeter, PairsPacketNWithPictureN) {
    LatencyMeter tMeter;
    const Clock::time_point t0 = Clock::now();
    tMeter.Fed(t0);
    tMeter.Fed(t0 + std::chrono::milliseconds(10));
    tMeter.Fed(t0 + std::chrono::milliseconds(20));
    tMeter.Shown(2, t0 + std::chrono::milliseconds(30)); // 30 and 20 ms
    tMeter.Shown(2, t0 + std::chrono::milliseconds(90)); // nothing new
    tMeter.Shown(3, t0 + std::chrono::milliseconds(60)); // 40 ms
    const LatencySummary tSummary = tMeter.Summary();
    EXPECT_EQ(tSummary.m_iSamples, 3);
    EXPECT_DOUBLE_EQ(tSummary.m_dMedianMs, 30.0);
    EXPECT_DOUBLE_EQ(tSummary.m_dP95Ms, 40.0);
}

TEST(LatencyMeter, ResyncForgetsPacketsNotShown) {
    LatencyMeter tMeter;
    const Clock::time_point t0 = Clock::now();
    tMeter.Fed(t0);
    tMeter.Fed(t0);
    tMeter.Resync(5);
    tMeter.Fed(t0 + std::chrono::milliseconds(100));
    tMeter.Shown(6, t0 + std::chrono::milliseconds(107));
    const LatencySummary tSummary = tMeter.Summary();
    ASSERT_EQ(tSummary.m_iSamples, 1);
    EXPECT_DOUBLE_EQ(tSummary.m_dMedianMs, 7.0);
}

TEST(LatencyMeter, KeepsTheLastSamplesOnly) {
    LatencyMeter tMeter;
    const Clock::time_point t0 = Clock::now();
    for (size_t i = 0; i < LatencyMeter::MAX_SAMPLES + 10; ++i) {
        tMeter.Fed(t0);
        tMeter.Shown(static_cast<long long>(i) + 1, t0 + std::chrono::milliseconds(i < 10 ? 1000 : 5));
    }
    const LatencySummary tSummary = tMeter.Summary();
    EXPECT_EQ(tSummary.m_iSamples, static_cast<int>(LatencyMeter::MAX_SAMPLES));
    EXPECT_DOUBLE_EQ(tSummary.m_dP95Ms, 5.0); // the ten slow ones were overwritten
}

TEST_F(SourceFiles, Mp4AndMkvBecomeAnnexBWithParameterSetsAndADelimiterAfterEachPicture) {
    for (const char* pcName : {"clip.mp4", "clip.mkv", "clip.h264"}) {
        StreamInfo tInfo;
        const std::vector<VideoPacket> vecPackets = Packets(Path(pcName), &tInfo);
        ASSERT_EQ(vecPackets.size(), 30u) << pcName;
        EXPECT_EQ(tInfo.m_strCodec, "h264");
        EXPECT_EQ(tInfo.m_eCodec, VideoCodec::H264);
        EXPECT_EQ(tInfo.m_iWidth, 288);
        EXPECT_EQ(tInfo.m_iHeight, 224);
        EXPECT_DOUBLE_EQ(tInfo.m_dFrameRate, 25.0) << pcName;
        EXPECT_FALSE(tInfo.m_blLive);
        const std::vector<std::uint8_t>& vecFirst = vecPackets[0].m_vecData;
        ASSERT_GT(vecFirst.size(), 12u);
        EXPECT_TRUE(vecPackets[0].m_blKey) << pcName;
        // A start code, then the sequence parameter set (NAL type 7).
        const size_t uCode = vecFirst[2] == 1 ? 3 : 4;
        EXPECT_EQ(vecFirst[0], 0);
        EXPECT_EQ(vecFirst[1], 0);
        EXPECT_EQ(vecFirst[uCode] & 0x1f, 7) << pcName;
        const std::vector<std::uint8_t> vecDelimiter = {0, 0, 0, 1, 0x09, 0xF0};
        for (const VideoPacket& tPacket : vecPackets)
            EXPECT_TRUE(
                std::equal(vecDelimiter.begin(), vecDelimiter.end(),
                           tPacket.m_vecData.end() - static_cast<std::ptrdiff_t>(vecDelimiter.size())))
                << pcName;
    }
    StreamInfo tInfo;
    Packets(Path("clip.mp4"), &tInfo);
    EXPECT_EQ(tInfo.m_strFormat, "mov,mp4,m4a,3gp,3g2,mj2");
    EXPECT_EQ(tInfo.m_llFrames, 30);
}

TEST_F(SourceFiles, CountsThePacketsOfARawStream) {
    ReaderSettings tSettings;
    tSettings.m_strUrl = Path("clip.h264");
    EXPECT_EQ(CountPackets(tSettings), 30);
    tSettings.m_strUrl = Path("missing.h264");
    EXPECT_EQ(CountPackets(tSettings), 0);
}

TEST_F(SourceFiles, PlaysAFileAtItsTimestampsOrAsFastAsTaken) {
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("clip.mp4");
    const auto Take = [](const std::uint8_t*, int) { return SinkResult::Taken; };
    const auto Shown = [] { return 1LL; };
    const Outcome tPaced = PlayToTheEnd(tOptions, Take, Shown);
    EXPECT_EQ(tPaced.m_tStatus.m_eState, SourceState::Ended) << tPaced.m_tStatus.m_strMessage;
    EXPECT_EQ(tPaced.m_llPackets, 30);
    // 30 pictures at 25 a second: the last is due 1.16 s after the first.
    EXPECT_GE(tPaced.m_dSeconds, 1.1);
    const std::vector<SourceState> vecExpected = {SourceState::Playing, SourceState::Ended};
    EXPECT_EQ(tPaced.m_vecStates, vecExpected);

    tOptions.m_blPaced = false;
    const Outcome tFast = PlayToTheEnd(tOptions, Take, Shown);
    EXPECT_EQ(tFast.m_llPackets, 30);
    EXPECT_LT(tFast.m_dSeconds, tPaced.m_dSeconds);
}

TEST_F(SourceFiles, OffersABusyFilePacketAgain) {
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("clip.mp4");
    tOptions.m_blPaced = false;
    int iCalls = 0;
    const Outcome tOutcome = PlayToTheEnd(
        tOptions,
        [&iCalls](const std::uint8_t*, int) { return ++iCalls % 2 ? SinkResult::Busy : SinkResult::Taken; },
        [] { return 1LL; });
    EXPECT_EQ(tOutcome.m_tStatus.m_eState, SourceState::Ended);
    EXPECT_EQ(tOutcome.m_llPackets, 30);
    EXPECT_EQ(iCalls, 60);
}

TEST_F(SourceFiles, ARefusedPacketFailsTheSource) {
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("clip.mp4");
    const Outcome tOutcome = PlayToTheEnd(
        tOptions, [](const std::uint8_t*, int) { return SinkResult::Failed; }, [] { return 1LL; });
    EXPECT_EQ(tOutcome.m_tStatus.m_eState, SourceState::Failed);
    EXPECT_EQ(tOutcome.m_tStatus.m_strMessage, "the player refused a packet of " + Path("clip.mp4"));
    EXPECT_EQ(tOutcome.m_llPackets, 0);
}

TEST_F(SourceFiles, HoldsAFileAtAPacketCount) {
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("clip.mp4");
    tOptions.m_blPaced = false;
    MediaSource tSource(tOptions);
    ASSERT_EQ(tSource.Open(), "");
    tSource.HoldAt(7);
    ASSERT_TRUE(tSource.Start([](const std::uint8_t*, int) { return SinkResult::Taken; }, nullptr,
                              [] { return 1LL; }));
    const Clock::time_point tStart = Clock::now();
    while (tSource.PacketsFed() < 7 && Clock::now() - tStart < WAIT_LIMIT)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(tSource.PacketsFed(), 7);
    EXPECT_EQ(tSource.Status().m_eState, SourceState::Playing);
    tSource.HoldAt(-1);
    while (tSource.Status().m_eState != SourceState::Ended && Clock::now() - tStart < WAIT_LIMIT)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(tSource.PacketsFed(), 30);
    EXPECT_FALSE(tSource.Start([](const std::uint8_t*, int) { return SinkResult::Taken; }, nullptr, nullptr));
}

TEST_F(SourceFiles, AFileThatEndsBeforeItsFirstPictureFails) {
    long long llBytes = 0;
    for (const VideoPacket& tPacket : Packets(Path("clip.h264")))
        llBytes += static_cast<long long>(tPacket.m_vecData.size());
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("clip.h264");
    tOptions.m_blPaced = false;
    tOptions.m_iFirstPictureMs = 300;
    const Outcome tOutcome = PlayToTheEnd(
        tOptions, [](const std::uint8_t*, int) { return SinkResult::Taken; }, [] { return 0LL; });
    EXPECT_EQ(tOutcome.m_tStatus.m_eState, SourceState::Failed);
    EXPECT_EQ(tOutcome.m_tStatus.m_strMessage, "no video picture decoded from " + Path("clip.h264") +
                                                   " before it ended after " + ByteCount(llBytes) +
                                                   " of h264: a truncated clip?");
    // The data handed on gets a second to decode.
    EXPECT_GE(tOutcome.m_dSeconds, 0.9);
    EXPECT_LT(tOutcome.m_dSeconds, 5.0);
}

TEST_F(SourceFiles, NoPictureAfterTheDataLimitFails) {
    // The limit is crossed by the packet that brings the data fed to it or more.
    long long llBytes = 0;
    for (const VideoPacket& tPacket : Packets(Path("long.mp4"))) {
        llBytes += static_cast<long long>(tPacket.m_vecData.size());
        if (llBytes >= 20000)
            break;
    }
    ASSERT_GE(llBytes, 20000);
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("long.mp4");
    tOptions.m_blPaced = false;
    tOptions.m_llFirstPictureBytes = 20000;
    const Outcome tOutcome = PlayToTheEnd(
        tOptions, [](const std::uint8_t*, int) { return SinkResult::Taken; }, [] { return 0LL; });
    EXPECT_EQ(tOutcome.m_tStatus.m_eState, SourceState::Failed);
    EXPECT_EQ(tOutcome.m_tStatus.m_strMessage, "no video picture decoded from " + Path("long.mp4") +
                                                   " after " + ByteCount(llBytes) +
                                                   ": not H.264, H.265 or MJPEG?");
}

TEST_F(SourceFiles, NoPictureWithinTheTimeLimitFails) {
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("long.mp4");
    tOptions.m_iFirstPictureMs = 400;
    const Outcome tOutcome = PlayToTheEnd(
        tOptions, [](const std::uint8_t*, int) { return SinkResult::Taken; }, [] { return 0LL; });
    EXPECT_EQ(tOutcome.m_tStatus.m_eState, SourceState::Failed);
    const std::string strStart = "no video picture decoded from " + Path("long.mp4") + " within 0.4 s (";
    const std::string strEnd = " of h264 read): not H.264, H.265 or MJPEG, or no key picture?";
    EXPECT_EQ(tOutcome.m_tStatus.m_strMessage.compare(0, strStart.size(), strStart), 0)
        << tOutcome.m_tStatus.m_strMessage;
    ASSERT_GT(tOutcome.m_tStatus.m_strMessage.size(), strEnd.size());
    EXPECT_EQ(tOutcome.m_tStatus.m_strMessage.substr(tOutcome.m_tStatus.m_strMessage.size() - strEnd.size()),
              strEnd);
    EXPECT_GE(tOutcome.m_dSeconds, 0.39);
    EXPECT_LT(tOutcome.m_dSeconds, 2.0);
}

TEST_F(SourceFiles, StopEndsAPacedSourceAtOnce) {
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = Path("long.mp4");
    MediaSource tSource(tOptions);
    ASSERT_EQ(tSource.Open(), "");
    ASSERT_TRUE(tSource.Start([](const std::uint8_t*, int) { return SinkResult::Taken; }, nullptr,
                              [] { return 1LL; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const Clock::time_point tStop = Clock::now();
    tSource.Stop();
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - tStop).count(), 0.5);
    EXPECT_GT(tSource.PacketsFed(), 0);
    EXPECT_LT(tSource.PacketsFed(), 75); // the 3 s file was not played through
}

TEST(SourceOpen, UnstartedOrUnopenedSourcesRefuseToStart) {
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = "/nonexistent/clip.mp4";
    MediaSource tSource(tOptions);
    EXPECT_EQ(tSource.Open(), "cannot open /nonexistent/clip.mp4: No such file or directory");
    EXPECT_FALSE(tSource.Start([](const std::uint8_t*, int) { return SinkResult::Taken; }, nullptr, nullptr));
    tSource.Stop(); // harmless without a thread
    EXPECT_EQ(tSource.Status().m_eState, SourceState::Idle);
}

TEST(SourceOpen, CancelMakesAnOpeningInProgressGiveUp) {
    // A camera on loopback that never answers: the opening waits for its RTSP reply.
    const loopback::SilentListener tCamera;
    ASSERT_NE(tCamera.Port(), 0);
    SourceOptions tOptions;
    tOptions.m_tReader.m_strUrl = "rtsp://127.0.0.1:" + std::to_string(tCamera.Port()) + "/cam";
    tOptions.m_tReader.m_iTimeoutMs = 20000;
    MediaSource tSource(tOptions);
    std::string strResult = "not returned";
    std::thread tOpening([&tSource, &strResult] { strResult = tSource.Open(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const Clock::time_point tCancel = Clock::now();
    tSource.Cancel();
    tOpening.join();
    EXPECT_EQ(strResult, "cancelled");
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - tCancel).count(), 5.0); // not the 20 s time-out
    EXPECT_FALSE(tSource.Start([](const std::uint8_t*, int) { return SinkResult::Taken; }, nullptr, nullptr));
    tSource.Stop();
}

TEST(SourceSink, ThePlayerLibrarysFeedResultsMapToTakenBusyAndRefused) {
    EXPECT_EQ(SinkResultOfPut(0), SinkResult::Taken);
    EXPECT_EQ(SinkResultOfPut(-3), SinkResult::Busy); // the engine's full queue, passed up unchanged
    for (int iRet : {-1, -2, -4, -100, 1})
        EXPECT_EQ(SinkResultOfPut(iRet), SinkResult::Failed) << iRet;
}

} // namespace
