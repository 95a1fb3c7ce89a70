// _ZEBFAULT_
// fishplayer: live fisheye video with dewarping, for video-surveillance clients.
//
// CLS_FishPlayer is the library's only exported class, a process-wide singleton reached through
// GetInstance(). Its first use loads the player engine "Korvane.dll" (found by the system's
// ordinary library search) and creates the engine system. A client then creates a fisheye player
// from a stream header (FishPlayer_CreatePlayerFromStream) with a set of correction views, feeds
// stream packets, steers the views and receives the PTZ views' outlines every 40 ms.
//
// Results. Every int method returns 0 on success and -1 when one of the library's own checks
// fails; where the engine or the correction algorithm fails, its own (negative, or for playback
// start any non-zero) code is returned unchanged. Each failure also writes one line through Qt's
// message logger ("_ZEB_ Panoview : ...", warning level, some argument checks at info level).
// FishPlayer_StartTrack, FishPlayer_StopTrack and FishPlayer_CreatePlayerFromFile are not
// provided and always return -1.
//
// Ownership. The library owns its players and views: FishPlayer_DeleteAllPlayer deletes a
// fisheye player with everything it opened. Window handles stay the client's; the library keeps
// copies of them, never the client's maps. A failed creation leaves nothing behind. Players still
// alive at process exit are abandoned, not closed.
//
// Threads. The registry of players has no lock: creating and deleting players (and their views)
// must not overlap with any other call (serialise them, for example on one thread). Between
// those, controls, feeding and switches may come from several threads, but the controls of one
// view must not overlap: steer each view from one thread at a time. SetPlayIndex/GetPlayIndex may
// be called from any thread.
//
// Overlay callback. The callback registered with FishPlayer_RegisterDrawCallback runs on a thread
// of the library (one per fisheye player), every 40 ms, while that player's draw lock is held.
// Its two int arguments are always 0, so a client with several players registers one function per
// player. It must return promptly and must not call FishPlayer_EnableDraw(id, false),
// FishPlayer_DeleteAllSubPlayer or FishPlayer_DeleteAllPlayer for the same player: those wait
// for the draw thread and would never return. Overlay drawing starts when views other than PTZ
// and source views are created with drawing enabled; FishPlayer_EnableDraw(id, false) stops it
// until the views are created again.
//
// Window handles. The void* handles (the main window and the views' windows) are handed to the
// engine as they are; the library never draws into them. On Windows each is an HWND, cast to
// void*. On Linux with the open engine each is an X11 window id (a Qt widget's winId(), cast
// through quintptr), or an off-screen surface of the engine's KW_Ext_CreateSurface, which the
// client reads back as RGB pictures (the example client and the demo do that). The main window
// shows the source picture; the source and whole-fisheye views open no engine correction, so a
// client paints those two from the main window's picture (the whole fisheye is the lens circle's
// part of it).
//
// Units of the controls.
// - FishPlayer_PTZCtl: _tParam holds a horizontal, a vertical and a zoom step. With mounting mode
//   1 (wall) a step moves the view's centre by that many ten-thousandths of the fisheye picture's
//   width or height; with modes 2 and 3 (ceiling, floor; mode 3 mirrored) the horizontal step
//   turns the view about the picture's centre (10000 is half a turn) and the vertical step moves
//   it toward or away from the centre, in ten-thousandths. The zoom step is in zoom-value units.
// - Zoom sign: a view's zoom value is kept between 550 and 15000 and starts at 10000;
//   n_PTZCtlCmd_ZoomDec lowers it by the zoom step, n_PTZCtlCmd_ZoomInc raises it, and
//   FishPlayer_PTZWindowCtl with n_CtlCmd_Zoom lowers it by 5 per step (a positive step, the
//   wheel's delta turned up, lowers it). With the open algorithm a lower value is a narrower view,
//   so a client passing the wheel's delta zooms in on wheel-up (docs/geometry.md).
// - Drags: FishPlayer_PTZWindowCtl with n_CtlCmd_Move takes the mouse's displacement in window
//   pixels of _rect; FishPlayer_DrawWindowCtl takes a drag's start and end points in the
//   fisheye view's window pixels; FishPlayer_CorrectWindowCtl turns a panorama by the horizontal
//   distance given (pass the opposite of the mouse's for the picture to follow it).
//
// The lens circle. The library learns where the lens's image circle lies in the source picture
// as channel user data: an area record (osd_TLDCSet) that the engine delivers for the engine
// player named by the play index (SetPlayIndex before the creation). A camera sends it in its
// stream; a client that knows the area already passes it with _blIsInitUserData true and the
// area in _tTLDSet. GetIsInitUserData tells when the area has arrived; until then the views have
// no geometry to dewarp with.
#ifndef CLS_FISH_PLAYER_H
#define CLS_FISH_PLAYER_H

#include "FishPlayerTypes.h"

#include <QMap>
#include <QReadWriteLock>
#include <QString>
#include <QVector>

class CLS_MainPlayer;

class FISHPLAYER_EXPORT CLS_FishPlayer {
public:
    // The single instance; the first call loads the engine and creates its system.
    static CLS_FishPlayer* GetInstance();
    // Frees the registry only: players still registered are abandoned.
    ~CLS_FishPlayer();
    // Copies share the registered players; they do not copy them.
    CLS_FishPlayer(const CLS_FishPlayer& _other);
    CLS_FishPlayer& operator=(const CLS_FishPlayer& _other);

    // Play index: the engine player whose channel user data the next stream player receives.
    int GetPlayIndex();
    void SetPlayIndex(int _iPlayIndex);
    // Stops the delivery of channel user data for a play index; the engine's result.
    static int FishPlayer_StopRevChUserDate(int _iPlayIndex);
    // True once the player has applied user data. An unknown id answers false (and is remembered
    // as an empty entry, which the other methods then refuse).
    bool GetIsInitUserData(int _iFishPlayerID);

    // Creation. The fisheye player id is written to *_pFishMainPlyerID; _qmapIds receives, per
    // correction type, the engine ids of the views created for the windows of _qmapWindows.
    int FishPlayer_CreatePlayerFromFile(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                        const QMap<int, QVector<void*>>& _qmapWindows,
                                        const QString& _qstrFile, int* _pFishMainPlyerID,
                                        QMap<int, QVector<int>>& _qmapIds,
                                        const STRUCT_FishDrawParam& _tDrawParam);
    // _pcVideoHeader starts with a 12-byte header (its size, picture width, picture height);
    // _iStreamType 0 opens a player, other types succeed without one. With _blIsInitUserData the
    // client's _tTLDSet area is applied at once; otherwise the player waits for the area as user
    // data on the current play index.
    int FishPlayer_CreatePlayerFromStream(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                                          const QMap<int, QVector<void*>>& _qmapWindows, int _iStreamType,
                                          unsigned char* _pcVideoHeader, int _iHeadSize,
                                          int* _pFishMainPlyerID, QMap<int, QVector<int>>& _qmapIds,
                                          bool _blIsInitUserData, osd_TLDCSet _tTLDSet,
                                          const STRUCT_FishDrawParam& _tDrawParam);
    int FishPlayer_CreateSubPlayer(const STRUCT_FishEyeParam& _tParam, int _iFishPlayerID,
                                   const QMap<int, QVector<void*>>& _qmapWindows,
                                   QMap<int, QVector<int>>& _qmapIds, int _iExtra,
                                   const STRUCT_FishDrawParam& _tDrawParam);

    // Controls. _iCorrectType picks the first view of a correction type; _iPtzIndex a PTZ view by
    // the order of its window. Positions are window pixels inside _rect.
    int FishPlayer_CorrectWindowCtl(int _iFishPlayerID, int _iCorrectType, STRUCT_CtlParam _tParam,
                                    n_CtlCmd _eCmd, STRUCT_FishWindowRect _rect);
    int FishPlayer_DrawWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlPointParam _tPoint,
                                 n_CtlCmd _eCmd, STRUCT_FishWindowRect _rect);
    int FishPlayer_PTZWindowCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _tParam, n_CtlCmd _eCmd,
                                STRUCT_FishWindowRect _rect);
    // Returns 1 when the view is already where the command would put it.
    int FishPlayer_PTZCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _tParam, n_PTZCtlCmd _ePTZCmd);

    // Switches.
    int FishPlayer_EnableDraw(int _iFishPlayerID, bool _blEnable);
    int FishPlayer_EnableFish(int _iFishPlayerID, bool _blEnable);

    // Feeding: one packet of the stream; data types other than 0 are dropped.
    int FishPlayer_PutStreamToPlayer(int _iFishPlayerID, int _iDataType, unsigned char* _pcStreamData,
                                     int _iSize);

    int FishPlayer_RegisterDrawCallback(int _iFishPlayerID, PF_FishDrawCallback _pfCallback);

    // Deleting: the views only (the player stays registered), or the whole player.
    int FishPlayer_DeleteAllSubPlayer(int _iFishPlayerID);
    int FishPlayer_DeleteAllPlayer(int _iFishPlayerID);

    int FishPlayer_StartTrack(int _iFishPlayerID);
    int FishPlayer_StopTrack(int _iFishPlayerID);

private:
    CLS_FishPlayer();
    int FishPlayer_CreateSystem();
    int FishPlayer_DeleteSystem();
    int CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow,
                         const QString& _qstrFile, int* _pFishMainPlyerID);
    int CreateMainPlayer(const STRUCT_FishEyeParam& _tParam, const void* _pMainWindow, int _iStreamType,
                         unsigned char* _pcVideoHeader, int _iHeadSize, int* _pFishMainPlyerID,
                         bool _blIsInitUserData, osd_TLDCSet _tTLDSet);
    int CreateSubPlayer(const STRUCT_FishEyeParam& _tParam, int _iFishPlayerID,
                        const QMap<int, QVector<void*>>& _qmapWindows, QMap<int, QVector<int>>& _qmapIds,
                        const STRUCT_FishDrawParam& _tDrawParam, int _iExtra);
    // Registers the main player just made when its creation succeeded, else frees it; the result.
    int Register(CLS_MainPlayer* _pMainPlayer, int _iCreateRet, const int* _pFishMainPlyerID);
    // The views of a main player just created and registered under the id (one pass: no second
    // lookup), after logging a failed main-player creation with the caller's line.
    int CreateViews(int _iMainPlayerRet, const char* _pcMainPlayerFail, const char* _pcSubPlayerFail,
                    const STRUCT_FishEyeParam& _tParam, int _iFishPlayerID,
                    const QMap<int, QVector<void*>>& _qmapWindows, QMap<int, QVector<int>>& _qmapIds,
                    const STRUCT_FishDrawParam& _tDrawParam);
    // The two lookup steps. The lines are "[  CLS_FishPlayer::<method>" followed by the condition,
    // where the method's text carries the blanks that stand between it and the condition.
    bool IsRegistered(int _iFishPlayerID, const char* _pcMethod);
    CLS_MainPlayer* FindMainPlayer(int _iFishPlayerID, const char* _pcMethodContains,
                                   const char* _pcMethodNull);

    QMap<int, CLS_MainPlayer*> m_qmapMainPlayer;
    int m_iPlayIndex = 0;

    static osd_TLDCSet m_TLDSet; // declared for the user-data overlay settings; stays zero
    static QReadWriteLock m_qrwlockDateMux;
    static QReadWriteLock m_qrwlockTLDInitMux;
};

#endif // CLS_FISH_PLAYER_H
