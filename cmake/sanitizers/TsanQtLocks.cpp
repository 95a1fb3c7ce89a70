// ThreadSanitizer builds only. Qt's mutexes and read-write locks live in an uninstrumented Qt
// library, so ThreadSanitizer would not see the ordering they give. The link wraps the Qt lock
// functions the library calls (-Wl,--wrap) and tells ThreadSanitizer about every lock and unlock,
// read locks as read locks, so that it checks the library's data against the real locking.
// Qt 5 only: Qt 6 inlines QMutex's uncontended lock and unlock, which a link-time wrap never sees,
// so the build refuses ThreadSanitizer with Qt 6 (the library's code is the same on both).
#include <QMutex>
#include <QReadWriteLock>

#include <sanitizer/tsan_interface.h>

#include <vector>

namespace {

// Read-write locks held by this thread and how, so that an unlock is reported in the right mode.
struct STRUCT_HeldLock {
    const void* m_pLock;
    bool m_blRead;
};
thread_local std::vector<STRUCT_HeldLock> t_vecHeld;

void PushHeld(const void* _pLock, bool _blRead) {
    t_vecHeld.push_back({_pLock, _blRead});
}

bool PopHeld(const void* _pLock) {
    for (auto it = t_vecHeld.rbegin(); it != t_vecHeld.rend(); ++it) {
        if (it->m_pLock == _pLock) {
            const bool blRead = it->m_blRead;
            t_vecHeld.erase(std::next(it).base());
            return blRead;
        }
    }
    return false;
}

} // namespace

extern "C" {
void __real__ZN6QMutex4lockEv(QMutex*);
void __real__ZN6QMutex6unlockEv(QMutex*);
bool __real__ZN6QMutex7tryLockEi(QMutex*, int);
void __real__ZN14QReadWriteLock11lockForReadEv(QReadWriteLock*);
void __real__ZN14QReadWriteLock12lockForWriteEv(QReadWriteLock*);
void __real__ZN14QReadWriteLock6unlockEv(QReadWriteLock*);

void __wrap__ZN6QMutex4lockEv(QMutex* _pMutex) {
    __tsan_mutex_pre_lock(_pMutex, 0);
    __real__ZN6QMutex4lockEv(_pMutex);
    __tsan_mutex_post_lock(_pMutex, 0, 0);
}

bool __wrap__ZN6QMutex7tryLockEi(QMutex* _pMutex, int _iTimeout) {
    __tsan_mutex_pre_lock(_pMutex, __tsan_mutex_try_lock);
    const bool blLocked = __real__ZN6QMutex7tryLockEi(_pMutex, _iTimeout);
    __tsan_mutex_post_lock(
        _pMutex, blLocked ? __tsan_mutex_try_lock : __tsan_mutex_try_lock | __tsan_mutex_try_lock_failed, 0);
    return blLocked;
}

void __wrap__ZN6QMutex6unlockEv(QMutex* _pMutex) {
    __tsan_mutex_pre_unlock(_pMutex, 0);
    __real__ZN6QMutex6unlockEv(_pMutex);
    __tsan_mutex_post_unlock(_pMutex, 0);
}

void __wrap__ZN14QReadWriteLock11lockForReadEv(QReadWriteLock* _pLock) {
    __tsan_mutex_pre_lock(_pLock, __tsan_mutex_read_lock);
    __real__ZN14QReadWriteLock11lockForReadEv(_pLock);
    __tsan_mutex_post_lock(_pLock, __tsan_mutex_read_lock, 0);
    PushHeld(_pLock, true);
}

void __wrap__ZN14QReadWriteLock12lockForWriteEv(QReadWriteLock* _pLock) {
    __tsan_mutex_pre_lock(_pLock, 0);
    __real__ZN14QReadWriteLock12lockForWriteEv(_pLock);
    __tsan_mutex_post_lock(_pLock, 0, 0);
    PushHeld(_pLock, false);
}

void __wrap__ZN14QReadWriteLock6unlockEv(QReadWriteLock* _pLock) {
    const unsigned uFlags = PopHeld(_pLock) ? __tsan_mutex_read_lock : 0;
    __tsan_mutex_pre_unlock(_pLock, uFlags);
    __real__ZN14QReadWriteLock6unlockEv(_pLock);
    __tsan_mutex_post_unlock(_pLock, uFlags);
}
}
