// An X server of the test's own: Xvfb on the first free display (it writes the number it took on
// its standard output, so concurrent tests never race for one), stopped when the object goes.
#ifndef FISHVIEWER_TESTS_XSERVER_H
#define FISHVIEWER_TESTS_XSERVER_H

#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

class XServer {
public:
    explicit XServer(const QString& _qstrScreen = QStringLiteral("1024x768x24")) {
        m_qProcess.start(QStringLiteral("Xvfb"), {QStringLiteral("-displayfd"), QStringLiteral("1"),
                                                  QStringLiteral("-screen"), QStringLiteral("0"), _qstrScreen,
                                                  QStringLiteral("-nolisten"), QStringLiteral("tcp")});
        QElapsedTimer qtimer;
        qtimer.start();
        QByteArray qbaOut;
        while (!qbaOut.contains('\n') && qtimer.elapsed() < 10000 &&
               m_qProcess.state() != QProcess::NotRunning) {
            m_qProcess.waitForReadyRead(200);
            qbaOut += m_qProcess.readAllStandardOutput();
        }
        if (qbaOut.contains('\n'))
            m_qstrDisplay = QStringLiteral(":") + QString::fromLatin1(qbaOut.trimmed());
    }
    ~XServer() {
        m_qProcess.terminate();
        if (!m_qProcess.waitForFinished(5000))
            m_qProcess.kill();
        m_qProcess.waitForFinished(5000);
    }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    // ":N", or empty when the server did not start.
    const QString& Display() const { return m_qstrDisplay; }
    // The system's environment with DISPLAY set to this server.
    QProcessEnvironment Environment() const {
        QProcessEnvironment qenv = QProcessEnvironment::systemEnvironment();
        qenv.insert(QStringLiteral("DISPLAY"), m_qstrDisplay);
        return qenv;
    }

private:
    QProcess m_qProcess;
    QString m_qstrDisplay;
};

#endif // FISHVIEWER_TESTS_XSERVER_H
