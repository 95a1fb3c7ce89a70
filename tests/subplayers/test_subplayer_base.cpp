// The base view and the source view: creation, deletion, the callback registration, the slot
// order of the virtual operations and which kinds override which slots.
#include "ViewTestSupport.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace {

// Itanium C++ ABI: a pointer to a virtual member function holds 1 + the byte offset of its vtable
// entry in its first 8 bytes; the destructor takes the first two entries.
template <typename TMember> std::uint64_t VtableEntry(TMember _pMember) {
    static_assert(sizeof(TMember) == 16, "Itanium member function pointer");
    std::uint64_t uValue = 0;
    std::memcpy(&uValue, &_pMember, sizeof(uValue));
    EXPECT_EQ(uValue % 8, 1u) << "not a virtual member";
    return (uValue - 1) / 8;
}

TEST(ViewSlots, BaseOperationsSitInTheirFixedOrder) {
    using Base = CLS_SubPlayer;
    EXPECT_EQ(VtableEntry(&Base::CreatePlayer), 2u);
    EXPECT_EQ(VtableEntry(&Base::DeletePlayer), 3u);
    EXPECT_EQ(VtableEntry(&Base::GetPTZDrawData), 4u);
    EXPECT_EQ(VtableEntry(&Base::InitPTZDraw), 5u);
    EXPECT_EQ(VtableEntry(static_cast<int (Base::*)(int, int, STRUCT_FishWindowRect)>(&Base::Move)), 6u);
    EXPECT_EQ(VtableEntry(static_cast<int (Base::*)(const STRUCT_CtlPointParam&, STRUCT_FishWindowRect)>(
                  &Base::Move)),
              7u);
    EXPECT_EQ(VtableEntry(&Base::Zoom), 8u);
    EXPECT_EQ(VtableEntry(&Base::PTZCtl), 9u);
    EXPECT_EQ(VtableEntry(static_cast<int (Base::*)(STRUCT_PanoramaPara*)>(&Base::GetCorrectPara)), 10u);
    EXPECT_EQ(VtableEntry(static_cast<int (Base::*)(STRUCT_PTZCorrectPara*)>(&Base::GetCorrectPara)), 11u);
    EXPECT_EQ(VtableEntry(static_cast<int (Base::*)(STRUCT_PanoramaPara*)>(&Base::SetCorrectPara)), 12u);
    EXPECT_EQ(VtableEntry(static_cast<int (Base::*)(STRUCT_PTZCorrectPara*, bool)>(&Base::SetCorrectPara)),
              13u);
}

void* const* VtableOf(const CLS_SubPlayer& _view) {
    void* const* ppVtable = nullptr;
    std::memcpy(&ppVtable, &_view, sizeof(ppVtable));
    return ppVtable;
}

// Slots 1 to 12 whose entry differs from the base's.
std::vector<int> OverriddenSlots(const CLS_SubPlayer& _view) {
    static const CLS_SubPlayer* s_pBase = new CLS_SubPlayer(); // kept: only its vtable is read
    std::vector<int> vecSlots;
    for (int iSlot = 1; iSlot <= 12; ++iSlot)
        if (VtableOf(_view)[iSlot + 1] != VtableOf(*s_pBase)[iSlot + 1])
            vecSlots.push_back(iSlot);
    return vecSlots;
}

bool OwnDestructor(const CLS_SubPlayer& _view) {
    CLS_SubPlayer base;
    return VtableOf(_view)[0] != VtableOf(base)[0] && VtableOf(_view)[1] != VtableOf(base)[1];
}

class ViewOverrides : public ViewTest {};

TEST_F(ViewOverrides, EachKindOverridesExactlyItsOwnSlots) {
    CLS_SourceSubPlayer source;
    CLS_PTZSubPlayer ptz;
    CLS_180ViewSubPlayer view180;
    CLS_360ViewSubPlayer view360;
    CLS_LATViewSubPlayer lat;
    CLS_FishEyeSubPlayer fisheye;
    EXPECT_EQ(OverriddenSlots(source), std::vector<int>({1}));
    EXPECT_EQ(OverriddenSlots(ptz), std::vector<int>({1, 2, 3, 4, 5, 6, 7, 8, 10, 12}));
    EXPECT_EQ(OverriddenSlots(view180), std::vector<int>({5, 9, 11}));
    EXPECT_EQ(OverriddenSlots(view360), std::vector<int>({5, 9, 11}));
    EXPECT_EQ(OverriddenSlots(lat), std::vector<int>({10}));
    EXPECT_EQ(OverriddenSlots(fisheye), std::vector<int>({1, 2}));
    for (const CLS_SubPlayer* pView :
         std::vector<const CLS_SubPlayer*>{&source, &ptz, &view180, &view360, &lat, &fisheye})
        EXPECT_TRUE(OwnDestructor(*pView));
}

class BaseView : public ViewTest {};

TEST_F(BaseView, StartsWithoutIdsWindowHandleOrCentre) {
    Exposed<CLS_SubPlayer> view;
    EXPECT_EQ(view.m_iMainPlayId, -1);
    EXPECT_EQ(view.m_iSubPlayId, -1);
    EXPECT_EQ(view.m_pWindow, nullptr);
    EXPECT_EQ(view.m_pFcuHandle, nullptr);
    EXPECT_EQ(view.m_dCenterX, 0.0);
    EXPECT_EQ(view.m_dCenterY, 0.0);
}

TEST_F(BaseView, CreatePlayerOpensTheEngineCorrectionAndRecordsTheView) {
    Exposed<CLS_SubPlayer> view;
    void* pHandle = Handle();
    int iId = 55;
    const STRUCT_CorrectSetup tSetup = ViewSetup(2, 768, 0, 0, 0, 0, 0, 6);
    ASSERT_EQ(view.CreatePlayer(pHandle, 4, &tSetup, Window(), &iId), 0);
    const std::vector<FakeCall> vecCalls = Engine("KW_CreateFishEyeCorrect");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecArgs,
              std::vector<std::int64_t>({4, reinterpret_cast<std::intptr_t>(&tSetup), 88}));
    const Bytes expected = RecordBytes(88)
                               .At<int>(0, 88)
                               .At<int>(4, 2)
                               .At<int>(8, 768)
                               .At<int>(32, 8)
                               .At<int>(40, 32)
                               .At<int>(44, 3)
                               .At<int>(60, 0)
                               .At<void*>(72, Window())
                               .At<int>(80, 6);
    EXPECT_EQ(vecCalls[0].m_vecRecords[0], expected);
    EXPECT_EQ(iId, FIRST_CORRECT_ID);
    EXPECT_EQ(view.m_iSubPlayId, FIRST_CORRECT_ID);
    EXPECT_EQ(view.m_iMainPlayId, 4);
    EXPECT_EQ(view.m_pWindow, Window());
    EXPECT_EQ(view.m_pFcuHandle, Handle());
    EXPECT_EQ(BytesOf(view.m_tCorrectSetup), expected);
    EXPECT_EQ(view.m_iSetupMode, 2);
    EXPECT_EQ(view.m_iSetupType, 768);
    EXPECT_EQ(view.m_iSetupExtra, 6);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(BaseView, CreatePlayerReplacesADifferentHandle) {
    Exposed<CLS_SubPlayer> view;
    static char s_cOther;
    view.m_pFcuHandle = &s_cOther;
    void* pHandle = Handle();
    int iId = 0;
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, 512);
    ASSERT_EQ(view.CreatePlayer(pHandle, 1, &tSetup, Window(), &iId), 0);
    EXPECT_EQ(view.m_pFcuHandle, Handle());
}

TEST_F(BaseView, NullHandleIsReportedFirstEvenWhenEveryArgumentIsBad) {
    Exposed<CLS_SubPlayer> view;
    void* pHandle = nullptr;
    EXPECT_EQ(view.CreatePlayer(pHandle, -1, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::CreatePlayer nullptr == _pfcuHandle ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
}

TEST_F(BaseView, ArgumentChecksRunInOrder) {
    Exposed<CLS_SubPlayer> view;
    void* pHandle = Handle();
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, 512);
    int iId = 9;
    EXPECT_EQ(view.CreatePlayer(pHandle, -1, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 0, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 0, nullptr, Window(), nullptr), -1);
    EXPECT_EQ(view.CreatePlayer(pHandle, 0, nullptr, Window(), &iId), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::CreatePlayer _iMainPlayerId < 0 ]"),
                                       Warn("[  CLS_SubPlayer::CreatePlayer nullptr == _pWindow ]"),
                                       Warn("[  CLS_SubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"),
                                       Warn("[  CLS_SubPlayer::CreatePlayer nullptr == param ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
    EXPECT_EQ(iId, 9);
    EXPECT_EQ(view.m_iMainPlayId, -1);
    // Main player id 0 is valid.
    EXPECT_EQ(view.CreatePlayer(pHandle, 0, &tSetup, Window(), &iId), 0);
}

TEST_F(BaseView, EngineFailureIsPassedUpAndNothingIsStored) {
    Exposed<CLS_SubPlayer> view;
    void* pHandle = Handle();
    int iId = 33;
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, 512, 0, 0, 0, 0, 0, 5);
    FakeEngine()->PushResult("KW_CreateFishEyeCorrect", -7);
    EXPECT_EQ(view.CreatePlayer(pHandle, 2, &tSetup, Window(), &iId), -7);
    EXPECT_EQ(TestLog::Lines(),
              Lines({Warn("[  CLS_SubPlayer::CreatePlayer CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect fail "
                          "iRet =  -7  ]")}));
    EXPECT_EQ(iId, 33);
    EXPECT_EQ(view.m_iSubPlayId, -1);
    EXPECT_EQ(view.m_iMainPlayId, -1);
    EXPECT_EQ(view.m_pWindow, nullptr);
    EXPECT_EQ(view.m_pFcuHandle, nullptr);
    EXPECT_EQ(view.m_iSetupExtra, 0);
}

TEST_F(BaseView, DeletePlayerPassesTheEngineResultThrough) {
    Exposed<CLS_SubPlayer> view;
    view.m_iMainPlayId = 3;
    view.m_iSubPlayId = 104;
    FakeEngine()->PushResult("KW_DeleteFishEyeCorrect", -5);
    EXPECT_EQ(view.DeletePlayer(), -5);
    EXPECT_EQ(view.DeletePlayer(), 0);
    const std::vector<FakeCall> vecCalls = Engine("KW_DeleteFishEyeCorrect");
    ASSERT_EQ(vecCalls.size(), 2u);
    EXPECT_EQ(vecCalls[0].m_vecArgs, std::vector<std::int64_t>({3, 104}));
    EXPECT_EQ(view.m_iMainPlayId, 3); // neither id is reset
    EXPECT_EQ(view.m_iSubPlayId, 104);
    view.m_iMainPlayId = -1; // keep the destructor away from the engine
    TestLog::Clear();
}

TEST_F(BaseView, DeletePlayerDoesNotTestTheSubId) {
    Exposed<CLS_SubPlayer> view;
    view.m_iMainPlayId = 3;
    EXPECT_EQ(view.DeletePlayer(), 0);
    ASSERT_EQ(Engine("KW_DeleteFishEyeCorrect").size(), 1u);
    EXPECT_EQ(Engine("KW_DeleteFishEyeCorrect")[0].m_vecArgs, std::vector<std::int64_t>({3, -1}));
    EXPECT_TRUE(TestLog::Lines().empty());
    view.m_iMainPlayId = -1;
}

TEST_F(BaseView, SetFecCallBackFuncChecksBothIdsAndPassesTheResultThrough) {
    Exposed<CLS_SubPlayer> view;
    EXPECT_EQ(view.SetFecCallBackFunc(nullptr, nullptr), -1);
    view.m_iMainPlayId = 2;
    EXPECT_EQ(view.SetFecCallBackFunc(nullptr, nullptr), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]"),
                                       Warn("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
    view.m_iSubPlayId = 101;
    int iUser = 0;
    PF_FishEyeCorrectCallBack pf = [](int, void*) {};
    FakeEngine()->PushResult("KW_SetFishEyeCorrectCallBack", -12);
    EXPECT_EQ(view.SetFecCallBackFunc(pf, &iUser), -12);
    const std::vector<FakeCall> vecCalls = Engine("KW_SetFishEyeCorrectCallBack");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecArgs,
              std::vector<std::int64_t>({2, 101, reinterpret_cast<std::intptr_t>(reinterpret_cast<void*>(pf)),
                                         reinterpret_cast<std::intptr_t>(&iUser)}));
    view.m_iMainPlayId = -1;
}

TEST_F(BaseView, NeverCreatedViewIsDestroyedWithoutEngineCalls) {
    { CLS_SubPlayer view; }
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]"),
                                       Warn("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
}

TEST_F(BaseView, DestructionUnregistersTheCallbackThenDeletesTheCorrection) {
    {
        CLS_SubPlayer view;
        void* pHandle = Handle();
        int iId = 0;
        const STRUCT_CorrectSetup tSetup = ViewSetup(1, 512);
        ASSERT_EQ(view.CreatePlayer(pHandle, 6, &tSetup, Window(), &iId), 0);
        FakeEngine()->Reset();
        FakeEngine()->SetResult("KW_SetFishEyeCorrectCallBack", -1); // failures do not stop the deletion
    }
    const std::vector<FakeCall> vecJournal = FakeEngine()->Journal();
    ASSERT_EQ(vecJournal.size(), 2u);
    EXPECT_EQ(vecJournal[0].m_strName, "KW_SetFishEyeCorrectCallBack");
    EXPECT_EQ(vecJournal[0].m_vecArgs, std::vector<std::int64_t>({6, FIRST_CORRECT_ID, 0, 0}));
    EXPECT_EQ(vecJournal[1].m_strName, "KW_DeleteFishEyeCorrect");
    EXPECT_EQ(vecJournal[1].m_vecArgs, std::vector<std::int64_t>({6, FIRST_CORRECT_ID}));
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(BaseView, DestructorUsesTheBaseDeletionForEveryKind) {
    {
        ExposedPTZ view; // its own DeletePlayer would refuse the missing sub id
        view.m_iMainPlayId = 8;
    }
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")}));
    const std::vector<FakeCall> vecCalls = Engine("KW_DeleteFishEyeCorrect");
    ASSERT_EQ(vecCalls.size(), 1u);
    EXPECT_EQ(vecCalls[0].m_vecArgs, std::vector<std::int64_t>({8, -1}));
}

class SourceView : public ViewTest {};

TEST_F(SourceView, CreatePlayerRecordsWithoutChecksOrEngineCalls) {
    Exposed<CLS_SourceSubPlayer> view;
    void* pHandle = nullptr;
    const STRUCT_CorrectSetup tSetup = ViewSetup(3, 0, 100, 200, 300, 400, 500, 77);
    EXPECT_EQ(view.CreatePlayer(pHandle, -4, &tSetup, nullptr, nullptr), 0);
    EXPECT_EQ(view.m_iMainPlayId, -4);
    EXPECT_EQ(view.m_pWindow, nullptr);
    EXPECT_EQ(view.m_pFcuHandle, nullptr);
    EXPECT_TRUE(TestLog::Lines().size() == 0);
    EXPECT_EQ(EngineCallCount(), 0u);

    Exposed<CLS_SourceSubPlayer> created;
    pHandle = Handle();
    int iId = 42;
    EXPECT_EQ(created.CreatePlayer(pHandle, 5, &tSetup, Window(), &iId), 0);
    EXPECT_EQ(iId, 42);
    EXPECT_EQ(created.m_iMainPlayId, 5);
    EXPECT_EQ(created.m_iSubPlayId, -1);
    EXPECT_EQ(created.m_pWindow, Window());
    EXPECT_EQ(created.m_pFcuHandle, Handle());
    EXPECT_EQ(created.m_iSetupMode, 3);
    EXPECT_EQ(created.m_iSetupType, 0);
    EXPECT_EQ(created.m_iSetupExtra, 77);
    EXPECT_EQ(BytesOf(created.m_tCorrectSetup), Bytes(88, 0)); // the record itself is not copied
    EXPECT_EQ(EngineCallCount(), 0u);
    TestLog::Clear();
}

TEST_F(SourceView, NullRecordIsRefused) {
    Exposed<CLS_SourceSubPlayer> view;
    void* pHandle = Handle();
    EXPECT_EQ(view.CreatePlayer(pHandle, 5, nullptr, Window(), nullptr), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SourceSubPlayer::CreatePlayer nullptr == param ]")}));
    EXPECT_EQ(view.m_iMainPlayId, -1);
    TestLog::Clear();
}

TEST_F(SourceView, EveryControlSlotAnswersZeroAndChangesNothing) {
    Exposed<CLS_SourceSubPlayer> view;
    void* pHandle = Handle();
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, 0);
    ASSERT_EQ(view.CreatePlayer(pHandle, 5, &tSetup, Window(), nullptr), 0);
    CLS_SubPlayer& base = view;
    QVector<QVector<STRUCT_DrawPoint>> qvecData = {{{0.5f, 0.5f}}};
    STRUCT_PanoramaPara tPano = {7, 9.5f};
    STRUCT_PTZCorrectPara tPTZ{};
    tPTZ.iPTZZoom = 321;
    EXPECT_EQ(base.GetPTZDrawData(qvecData), 0);
    EXPECT_EQ(base.InitPTZDraw(pHandle, &tSetup, 1), 0);
    EXPECT_EQ(base.Move(10, 10, {100, 100}), 0);
    EXPECT_EQ(base.Move(STRUCT_CtlPointParam{1, 2, 3, 4}, {100, 100}), 0);
    EXPECT_EQ(base.Zoom(3), 0);
    EXPECT_EQ(base.PTZCtl({1, 2, 3}, n_PTZCtlCmd_Up), 0);
    EXPECT_EQ(base.GetCorrectPara(&tPano), 0);
    EXPECT_EQ(base.GetCorrectPara(&tPTZ), 0);
    EXPECT_EQ(base.SetCorrectPara(&tPano), 0);
    EXPECT_EQ(base.SetCorrectPara(&tPTZ, true), 0);
    EXPECT_EQ(qvecData.size(), 1);
    EXPECT_EQ(tPano.m_uOpaque, 7u);
    EXPECT_EQ(tPano.m_fRotateAngle, 9.5f);
    EXPECT_EQ(tPTZ.iPTZZoom, 321);
    EXPECT_EQ(view.m_dCenterX, 0.0);
    EXPECT_EQ(view.m_iMainPlayId, 5);
    EXPECT_EQ(EngineCallCount(), 0u);
    EXPECT_TRUE(TestLog::Lines().empty());
}

TEST_F(SourceView, DestructionAsksTheEngineToDeleteSubIdMinusOne) {
    {
        CLS_SourceSubPlayer view;
        void* pHandle = Handle();
        const STRUCT_CorrectSetup tSetup = ViewSetup(1, 0);
        ASSERT_EQ(view.CreatePlayer(pHandle, 5, &tSetup, Window(), nullptr), 0);
    }
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")}));
    ASSERT_EQ(Engine("KW_DeleteFishEyeCorrect").size(), 1u);
    EXPECT_EQ(Engine("KW_DeleteFishEyeCorrect")[0].m_vecArgs, std::vector<std::int64_t>({5, -1}));
}

// Variants of the engine lacking one export.
class BaseViewWithoutCreate : public ViewTest {};

TEST_F(BaseViewWithoutCreate, CreatePlayerFailsAtItsBindingTest) {
    void* pHandle = Handle();
    int iId = 3;
    const STRUCT_CorrectSetup tSetup = ViewSetup(1, 256);
    {
        Exposed<CLS_SubPlayer> view;
        EXPECT_EQ(view.CreatePlayer(pHandle, 1, &tSetup, Window(), &iId), -1);
        ExposedPTZ ptz;
        EXPECT_EQ(ptz.CreatePlayer(pHandle, 1, &tSetup, Window(), &iId), -1);
        EXPECT_EQ(view.m_iMainPlayId, -1);
        EXPECT_EQ(ptz.m_iMainPlayId, -1);
        EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::CreatePlayer nullptr == "
                                                "CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect ]"),
                                           Warn("[  CLS_PTZSubPlayer::CreatePlayer nullptr == "
                                                "CLS_ZebPlayer_SDK::KW_CreateFishEyeCorrect ]")}));
        TestLog::Clear();
    }
    EXPECT_EQ(iId, 3);
}

class BaseViewWithoutDelete : public ViewTest {};

TEST_F(BaseViewWithoutDelete, DeletePlayerFailsAtItsBindingTest) {
    Exposed<CLS_SubPlayer> view;
    view.m_iMainPlayId = 1;
    ExposedPTZ ptz;
    ptz.m_iMainPlayId = 1;
    ptz.m_iSubPlayId = 100;
    EXPECT_EQ(view.DeletePlayer(), -1);
    EXPECT_EQ(ptz.DeletePlayer(), -1);
    EXPECT_EQ(
        TestLog::Lines(),
        Lines({Warn("[  CLS_SubPlayer::CreatePlayer nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect ]"),
               Warn("[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_ZebPlayer_SDK::KW_DeleteFishEyeCorrect "
                    "]")}));
    view.m_iMainPlayId = -1;
    ptz.m_iMainPlayId = -1;
}

class BaseViewWithoutCallBack : public ViewTest {};

TEST_F(BaseViewWithoutCallBack, SetFecCallBackFuncFailsAtItsBindingTest) {
    Exposed<CLS_SubPlayer> view;
    view.m_iMainPlayId = 1;
    view.m_iSubPlayId = 100;
    EXPECT_EQ(view.SetFecCallBackFunc(nullptr, nullptr), -1);
    EXPECT_EQ(TestLog::Lines(), Lines({Warn("[  CLS_SubPlayer::SetFecCallBackFunc nullptr == "
                                            "CLS_ZebPlayer_SDK::KW_SetFishEyeCorrectCallBack ]")}));
    EXPECT_EQ(EngineCallCount(), 0u);
    view.m_iMainPlayId = -1;
}

} // namespace
