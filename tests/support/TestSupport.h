// Helpers shared by the tests: the captured log and access to the fakes' control objects.
#ifndef FISHPLAYER_TEST_SUPPORT_H
#define FISHPLAYER_TEST_SUPPORT_H

#include "fakes/FakeControl.h"

#include <cstring>
#include <string>
#include <vector>

// Every line written through Qt's message logger since the last Clear(), as
// "warning: <text>" or "info: <text>" (other levels: "debug:", "critical:", "fatal:").
namespace TestLog {
std::vector<std::string> Lines();
void Clear();
} // namespace TestLog

// Address of an export of an already loaded library (by its bare file name), or null.
void* LoadedSymbol(const char* _pcLibrary, const char* _pcName);

// Control objects of the fakes that the library has loaded; null while a fake is not loaded.
FakeEngineControl* FakeEngine();
FakeAlgoControl* FakeAlgo();

// Bytes of a record, for byte-by-byte comparison with a journal copy.
template <typename T> std::vector<unsigned char> BytesOf(const T& _t) {
    std::vector<unsigned char> vec(sizeof(T));
    std::memcpy(vec.data(), &_t, sizeof(T));
    return vec;
}

// Little-endian writer for building expected records field by field from their offsets.
class RecordBytes {
public:
    explicit RecordBytes(size_t _size) : m_vecBytes(_size, 0) {}
    template <typename T> RecordBytes& At(size_t _offset, T _value) {
        std::memcpy(m_vecBytes.data() + _offset, &_value, sizeof(T));
        return *this;
    }
    const std::vector<unsigned char>& Bytes() const { return m_vecBytes; }
    operator const std::vector<unsigned char>&() const { return m_vecBytes; }

private:
    std::vector<unsigned char> m_vecBytes;
};

#endif // FISHPLAYER_TEST_SUPPORT_H
