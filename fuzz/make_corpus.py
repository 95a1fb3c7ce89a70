#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into fuzz/corpus/<target>/.

Each seed is built field by field in the order in which the targets decode their input
(fuzz/FuzzSupport.cpp and the targets): little-endian, u8/u16/i32 fields, zero past the end.
Run it again after changing a decoder; the seeds are small and committed.
"""
import math
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))

PTZ, V180, V360, LAT, FISHEYE = 256, 512, 768, 1024, 1280
KEY_SELECTOR = {0: 0, PTZ: 1, V180: 2, V360: 3, LAT: 4, FISHEYE: 5}
INT_MIN, INT_MAX = -2**31, 2**31 - 1

# Scriptable results, in the targets' order; then the special steps.
SCRIPTABLE = ["KW_Play", "KW_PlayerControl", "KW_PutStreamToPlayer", "KW_DeletePlayer",
              "KW_CreateFishEyeCorrect", "KW_DeleteFishEyeCorrect", "KW_SetFishEyeCorrectCallBack",
              "KW_SetFishEyeCorrectEnable", "KW_GetFishEyeCorrectPara", "KW_SetFishEyeCorrectPara",
              "ZebAlgo_FCU_Release", "ZebAlgo_FCU_Init", "ZebAlgo_FCU_Ctrl",
              "ZebAlgo_FCU_Point_Transform", "ZebAlgo_FCU_CorrectPoint", "ZebAlgo_FCU_Process"]
NULL_HANDLE, POINT_TRANSFORM, CORRECT_POINT, LINES, LINE_NUM = range(len(SCRIPTABLE), len(SCRIPTABLE) + 5)


def u8(v):
    return struct.pack("<B", v)


def u16(v):
    return struct.pack("<H", v)


def i32(v):
    return struct.pack("<i", v)


def f32(v):
    return struct.pack("<f", v)


def f64(v):
    return struct.pack("<d", v)


def script(*steps):
    """steps: (name, value) for a result, or (kind, payload bytes) for the special steps."""
    out = u8(len(steps))
    for name, value in steps:
        if isinstance(name, str):
            out += u8(SCRIPTABLE.index(name)) + i32(value)
        else:
            out += u8(name) + value
    return out


def lines(polylines):
    out = u8(len(polylines))
    for line in polylines:
        out += u8(len(line)) + b"".join(f32(x) + f32(y) for x, y in line)
    return out


def correct_type(key):
    return u8(KEY_SELECTOR[key]) if key in KEY_SELECTOR else u8(6) + i32(key)


def windows(mapping):
    out = u8(len(mapping))
    for key, handles in mapping:
        out += correct_type(key) + u8(len(handles)) + b"".join(i32(h) for h in handles)
    return out


EVERY_VIEW = [(0, [0x2000]), (PTZ, [0x2100, 0x2200, 0x2300]), (V180, [0x2400]), (V360, [0x2500]),
              (LAT, [0x2600]), (FISHEYE, [0x2700])]


def play_index(v):
    return u8(v) if 0 <= v < 4 else u8(255) + i32(v)


def draw(enable, kind):
    out = u8({0: 0, 1: 192}[enable]) if enable in (0, 1) else u8(255) + i32(enable)
    return out + (u8(kind) if 0 <= kind < 3 else u8(255) + i32(kind))


def area(left, top, right, bottom, head=b"\0" * 8, tail=b"\0" * 96):
    return head + f64(left) + f64(top) + f64(right) + f64(bottom) + tail


def creation(flags=0x10, stream_type=0, size=12, header=None, window=0x1000, play_id=1, preset=1000,
             index=0, fisheye=(2, 0, 0), drawing=(0, 1), views=EVERY_VIEW, tld=None):
    """flags: 1 null main window, 2 null header, 4 null id, 8 user data given, 0x10 header size
    field written from the size, 0x20 no algorithm handle, 0x40 the engine fails to open."""
    if header is None:
        header = i32(size) + i32(1920) + i32(1080)
    out = u8(flags) + i32(stream_type) + i32(size) + u8(len(header)) + header
    if not flags & 1:
        out += i32(window)
    out += i32(play_id) + i32(preset) + play_index(index)
    out += b"".join(i32(v) for v in fisheye) + draw(*drawing) + windows(views)
    return out + (tld if tld is not None else area(0, 0, 10000, 10000))


def write(target, name, data):
    folder = os.path.join(HERE, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


# --- fuzz_stream_creation: [script, creation] up to three times -------------------------------
def stream_creation():
    t = "fuzz_stream_creation"
    write(t, "every_view", script() + creation())
    write(t, "user_data_area_fec_drawing",
          script() + creation(flags=0x18, fisheye=(1, 3, 4), drawing=(1, 0),
                              tld=area(1000.5, 2000.25, 9000, 8000, head=b"HEADHEAD")))
    write(t, "short_header_mismatch", script() + creation(flags=0, size=4, header=i32(5)))
    write(t, "long_header_and_size", script() + creation(size=40, header=bytes(range(40))))
    write(t, "other_stream_type_then_valid",
          script() + creation(stream_type=1, preset=77) + script() + creation(play_id=2))
    write(t, "engine_failures",
          script(("KW_Play", 5), ("KW_CreateFishEyeCorrect", -1), ("KW_PlayerControl", -3))
          + creation(flags=0x10) + script() + creation(flags=0x50, play_id=-9)
          + script(("KW_SetFishEyeCorrectEnable", -2), (NULL_HANDLE, b"")) + creation(play_id=3))
    nan = float("nan")
    write(t, "extremes",
          script() + creation(size=INT_MAX, fisheye=(INT_MIN, INT_MAX, -1), drawing=(INT_MIN, INT_MAX),
                              index=INT_MIN,
                              views=[(PTZ, list(range(1, 10))), (INT_MIN, [1]), (V360, [0]), (-1, [])],
                              flags=0x18, tld=area(nan, math.inf, -math.inf, 1e308)))
    write(t, "null_arguments", script() + creation(flags=0x07) + script() + creation(flags=0x04))


# --- fuzz_user_data ---------------------------------------------------------------------------
def user_player(width=1920, height=1080, index=1, fisheye=(2, 0, 0), drawing=(0, 1), views=None,
                play_id=5):
    if views is None:
        views = [(PTZ, [0x2100, 0x2200]), (V180, [0x2400])]
    return (i32(width) + i32(height) + play_index(index) + b"".join(i32(v) for v in fisheye)
            + draw(*drawing) + windows(views) + i32(play_id))


def delivery(payload, data_type=9, own_index=True, index=0, null=False):
    out = u8(0) if own_index else u8(255) + i32(index)
    out += u8(0) if data_type == 9 else u8(255) + i32(data_type)
    if null:
        return out + u8(255) + u16(0)
    if 128 <= len(payload) < 144:
        out += u8(len(payload) - 128)
    elif len(payload) < 64:
        out += u8(128 + len(payload))
    else:
        out += u8(192) + u16(len(payload))
    return out + payload


def op(n):
    return u8(n)


def user_data():
    """Concurrent steps: u8 (255 deletes the player), u8 count - 1, then each delivery and a switch."""
    t = "fuzz_user_data"
    a1 = area(0, 0, 10000, 10000)
    a2 = area(500, 600, 9500, 9400)
    write(t, "areas_and_switches",
          script() + user_player()
          + op(0) + delivery(a1) + op(0) + delivery(a1) + op(3) + u8(0) + op(0) + delivery(a2)
          + op(3) + u8(1) + op(0) + delivery(a2[:100]) + op(0) + delivery(a2 + b"\xff" * 64)
          + op(0) + delivery(b"") + op(0) + delivery(b"", null=True) + op(0) + delivery(a1, data_type=8)
          + op(0) + delivery(a2, own_index=False, index=3) + op(7) + u8(1) + u8(0))
    write(t, "concurrent_switch_and_delete",
          script() + user_player(views=[(PTZ, [0x2100])])
          + op(4) + u8(0) + u8(2) + delivery(a1) + u8(1) + delivery(a2) + u8(0) + delivery(a1) + u8(1)
          + op(4) + u8(255) + u8(1) + delivery(a2) + u8(0) + delivery(a1) + u8(1) + user_player(play_id=9)
          + op(0) + delivery(a2))
    write(t, "failures_and_stale_registration",
          script(("ZebAlgo_FCU_Ctrl", -1), ("KW_SetFishEyeCorrectEnable", -5)) + user_player()
          + op(0) + delivery(a1) + op(5) + script((NULL_HANDLE, b"")) + op(6) + user_player(play_id=11)
          + op(0) + delivery(a2) + op(6) + user_player(play_id=12, index=1)
          + op(0) + delivery(a1) + op(7) + u8(0) + u8(0) + op(0) + delivery(a2))
    write(t, "extreme_areas",
          script() + user_player(width=INT_MAX, height=INT_MIN, fisheye=(1, INT_MIN, INT_MAX))
          + op(0) + delivery(area(float("nan"), math.inf, -math.inf, 1e300))
          + op(3) + u8(0) + op(3) + u8(1) + op(0) + delivery(area(-1e300, 5e9, -5e9, 0))
          + op(0) + delivery(b"\x09" * 1024))


# --- fuzz_facade_calls ------------------------------------------------------------------------
CREATE, CREATE_VIEWS, DELETE_VIEWS, DELETE, CORRECT_CTL, DRAW_CTL, PTZ_WINDOW_CTL, PTZ_CTL, \
    ENABLE_DRAW, ENABLE_FISH, FEED, CALLBACK, PLAY_INDEX, QUERY, STOP_USER_DATA, USER_DATA, SCRIPT, \
    FROM_FILE, TRACK = range(19)


def pid(k=0):
    """The k-th player of the input."""
    return u8(k)


def any_id(v):
    return u8(255) + i32(v)


def cmd(v, named):
    return u8(v) if 0 <= v < named + 2 else u8(255) + i32(v)


def ptz_index(v):
    return u8(v + 1) if -1 <= v <= 8 else u8(255) + i32(v)


def ints(*values):
    return b"".join(i32(v) for v in values)


def facade_create(**kwargs):
    return op(CREATE) + creation(**kwargs)


def correct_ctl(player, key, x, y, z, command, w, h):
    return op(CORRECT_CTL) + player + correct_type(key) + ints(x, y, z) + cmd(command, 2) + ints(w, h)


def draw_ctl(player, index, sx, sy, ex, ey, command, w, h):
    return op(DRAW_CTL) + player + ptz_index(index) + ints(sx, sy, ex, ey) + cmd(command, 2) + ints(w, h)


def ptz_window_ctl(player, index, x, y, z, command, w, h):
    return op(PTZ_WINDOW_CTL) + player + ptz_index(index) + ints(x, y, z) + cmd(command, 2) + ints(w, h)


def ptz_ctl(player, index, h, v, z, command):
    return op(PTZ_CTL) + player + ptz_index(index) + ints(h, v, z) + cmd(command, 10)


def feed(player, data, data_type=0, size_selector=0, null=False):
    out = op(FEED) + player + (u8(0) if data_type == 0 else u8(255) + i32(data_type))
    return out + u16(len(data)) + data + u8(size_selector) + u8(255 if null else 0)


def facade_user_data(index, payload, data_type=9):
    out = op(USER_DATA) + play_index(index) + (u8(0) if data_type == 9 else u8(255) + i32(data_type))
    return out + u16(len(payload)) + payload


def facade_calls():
    t = "fuzz_facade_calls"
    p = pid(0)
    session = facade_create(index=1, drawing=(1, 1)) + op(CALLBACK) + p + u8(255)
    for key in (0, PTZ, V180, V360, LAT, FISHEYE):
        session += correct_ctl(p, key, 40, -30, 2, 0, 640, 480)
    for index in (0, 1, 2):
        session += draw_ctl(p, index, 100, 100, 160, 90, 0, 640, 480)
        session += ptz_window_ctl(p, index, 20, 10, 0, 0, 640, 480)
        session += ptz_window_ctl(p, index, 0, 0, 3, 1, 640, 480)
    for command in range(12):
        session += ptz_ctl(p, command % 3, 100, 50, 20, command)
    session += feed(p, b"\x00\x00\x01\xb3" + bytes(60)) + feed(p, b"pkt", size_selector=160)
    session += op(ENABLE_FISH) + p + u8(0) + op(ENABLE_FISH) + p + u8(1)
    session += op(ENABLE_DRAW) + p + u8(0) + op(ENABLE_DRAW) + p + u8(1)
    session += op(DELETE_VIEWS) + p
    session += (op(CREATE_VIEWS) + ints(1, 0, 4) + p + windows(EVERY_VIEW) + i32(4) + draw(0, 0))
    session += ptz_ctl(p, 0, 10, 10, 10, 9) + op(DELETE) + p
    write(t, "session_every_view", session)

    extremes = facade_create(fisheye=(1, INT_MAX, INT_MIN), views=EVERY_VIEW)
    for v in (INT_MIN, INT_MAX, 0, -1):
        extremes += correct_ctl(p, V360, v, v, v, 0, v if v else 1, 1)
        extremes += correct_ctl(p, V180, v, v, v, v, 1, v)
        extremes += draw_ctl(p, 0, v, v, -v if v != INT_MIN else INT_MAX, v, 0, 1, 1)
        extremes += ptz_window_ctl(p, v, v, v, v, 1, v, v)
        extremes += ptz_window_ctl(p, 1, v, v, v, 0, 1, 1)
        extremes += ptz_ctl(p, 2, v, v, v, v) + ptz_ctl(p, 0, v, v, v, 3) + ptz_ctl(p, 0, v, v, v, 9)
        extremes += feed(any_id(v), b"x") + feed(p, b"abc", data_type=v, size_selector=200)
        extremes += op(TRACK) + any_id(v) + u8(v & 1)
    write(t, "extreme_integers", extremes)

    user = (facade_create(index=2, views=[(PTZ, [0x2100])]) + op(PLAY_INDEX) + u8(1) + play_index(2)
            + facade_user_data(2, area(100, 200, 9900, 9800)) + op(QUERY) + u8(0)
            + op(QUERY) + u8(255) + facade_user_data(2, b"\x01" * 20) + facade_user_data(2, bytes(300))
            + op(STOP_USER_DATA) + play_index(2) + facade_user_data(2, area(0, 0, 1, 1))
            + op(FROM_FILE) + ints(1, 2, 3) + u8(0) + windows(EVERY_VIEW) + i32(42) + draw(0, 0)
            + op(FROM_FILE) + ints(1, 2, 3) + u8(3) + windows([]) + i32(43) + draw(0, 0)
            + facade_create(stream_type=3, preset=-5) + op(DELETE) + pid(1) + op(DELETE) + p)
    write(t, "user_data_and_queries", user)

    outline = (facade_create(fisheye=(3, 0, 0), drawing=(1, 0),
                             views=[(PTZ, [0x2100, 0x2200, 0x2300, 0x2400]), (FISHEYE, [0x2700])])
               + op(SCRIPT) + script((LINES, lines([[(0.1, 0.2), (0.3, 0.4), (0.5, 0.6)], [(0.7, 0.8)]])),
                                     (CORRECT_POINT, f32(0.25) + f32(0.75)))
               + ptz_ctl(p, 1, 300, 200, 100, 4) + draw_ctl(p, 3, 5, 5, 600, 400, 0, 640, 480)
               + op(SCRIPT) + script((LINE_NUM, i32(40)), (POINT_TRANSFORM, f32(float("nan")) + f32(2.0)),
                                     ("KW_SetFishEyeCorrectPara", -7))
               + ptz_ctl(p, 0, 1, 1, 1, 7) + ptz_window_ctl(p, 2, 30, 30, 0, 0, 100, 100)
               + op(CALLBACK) + p + u8(255) + op(ENABLE_DRAW) + p + u8(1)
               + facade_create(play_id=7, views=[(V180, [0x3000]), (LAT, [0x3100])])
               + op(DELETE_VIEWS) + pid(1) + op(DELETE) + p)
    write(t, "outlines_and_failures", outline)


if __name__ == "__main__":
    stream_creation()
    user_data()
    facade_calls()
