// A main player whose members the tests can reach, and a view that records the controls it gets.
#ifndef FISHPLAYER_TEST_MAIN_PLAYER_H
#define FISHPLAYER_TEST_MAIN_PLAYER_H

#include "mainplayer/CLS_MainPlayer.h"
#include "subplayers/CLS_SubPlayer.h"

#include <string>
#include <vector>

class TestMainPlayer : public CLS_MainPlayer {
public:
    using CLS_MainPlayer::m_blDrawEnabled;
    using CLS_MainPlayer::m_iMainPlayId;
    using CLS_MainPlayer::m_iVideoHeight;
    using CLS_MainPlayer::m_iVideoWidth;
    using CLS_MainPlayer::m_pDrawThread;
    using CLS_MainPlayer::m_pFcuHandle;
    using CLS_MainPlayer::m_qmapSubPlayers;
    using CLS_MainPlayer::m_tFishEyeParam;
};

// Answers each control with its own result, so a test sees which one was called and with what.
class RecordingView : public CLS_SubPlayer {
public:
    explicit RecordingView(std::vector<std::string>* _pvecCalls) : m_pvecCalls(_pvecCalls) {}
    int Move(int _iX, int _iY, STRUCT_FishWindowRect _rect) override {
        Record("Move " + std::to_string(_iX) + " " + std::to_string(_iY) + " " + Rect(_rect));
        return 11;
    }
    int Move(const STRUCT_CtlPointParam& _tPoint, STRUCT_FishWindowRect _rect) override {
        Record("MovePoint " + std::to_string(_tPoint.m_iStartX) + " " + std::to_string(_tPoint.m_iStartY) +
               " " + std::to_string(_tPoint.m_iEndX) + " " + std::to_string(_tPoint.m_iEndY) + " " +
               Rect(_rect));
        return 12;
    }
    int Zoom(int _iSteps) override {
        Record("Zoom " + std::to_string(_iSteps));
        return 13;
    }
    int PTZCtl(const STRUCT_CtlParam& _tParam, n_PTZCtlCmd _eCmd) override {
        Record("PTZCtl " + std::to_string(_tParam.m_iX) + " " + std::to_string(_tParam.m_iY) + " " +
               std::to_string(_tParam.m_iZ) + " " + std::to_string(static_cast<int>(_eCmd)));
        return 14;
    }
    std::string m_strName;

private:
    static std::string Rect(STRUCT_FishWindowRect _rect) {
        return std::to_string(_rect.m_iWidth) + "x" + std::to_string(_rect.m_iHeight);
    }
    void Record(const std::string& _strCall) { m_pvecCalls->push_back(m_strName + ": " + _strCall); }
    std::vector<std::string>* m_pvecCalls;
};

#endif // FISHPLAYER_TEST_MAIN_PLAYER_H
