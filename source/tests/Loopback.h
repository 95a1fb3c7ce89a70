// Sockets on 127.0.0.1 for the tests of network input (of the source, the demo and the viewer).
#ifndef FISHPLAYER_TESTS_LOOPBACK_H
#define FISHPLAYER_TESTS_LOOPBACK_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace loopback {

// The port _iSocket is bound to on 127.0.0.1 (0 when it cannot be bound).
inline int BindToAnyPort(int _iSocket) {
    sockaddr_in tAddress{};
    tAddress.sin_family = AF_INET;
    tAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t uLength = sizeof(tAddress);
    if (bind(_iSocket, reinterpret_cast<sockaddr*>(&tAddress), sizeof(tAddress)) != 0 ||
        getsockname(_iSocket, reinterpret_cast<sockaddr*>(&tAddress), &uLength) != 0)
        return 0;
    return ntohs(tAddress.sin_port);
}

// A free port of 127.0.0.1 for the given socket type (free when asked; taken by the caller next).
inline int FreePort(int _iType) {
    const int iSocket = socket(AF_INET, _iType, 0);
    if (iSocket < 0)
        return 0;
    const int iPort = BindToAnyPort(iSocket);
    close(iSocket);
    return iPort;
}

// A camera that hangs: a TCP listener on 127.0.0.1 whose connections are taken (by the kernel)
// and never answered. Port() is 0 when it could not listen.
class SilentListener {
public:
    SilentListener() : m_iSocket(socket(AF_INET, SOCK_STREAM, 0)) {
        const int iPort = m_iSocket >= 0 ? BindToAnyPort(m_iSocket) : 0;
        m_iPort = iPort > 0 && listen(m_iSocket, 4) == 0 ? iPort : 0;
    }
    ~SilentListener() {
        if (m_iSocket >= 0)
            close(m_iSocket);
    }
    SilentListener(const SilentListener&) = delete;
    SilentListener& operator=(const SilentListener&) = delete;
    int Port() const { return m_iPort; }

private:
    int m_iSocket;
    int m_iPort = 0;
};

} // namespace loopback

#endif // FISHPLAYER_TESTS_LOOPBACK_H
