// _ZEBFAULT_
// The one way the library writes a failure: a single line through Qt's message logger,
//   _ZEB_ Panoview : <literal> <value> <literal> ...
// items separated by single blanks, strings unquoted (what QDebug prints for a stream of them).
#ifndef CLS_ZEB_LOG_H
#define CLS_ZEB_LOG_H

#include <QDebug>
#include <QMessageLogger>

class CLS_ZebLog {
public:
    template <typename... Ts> static void Warning(const char* _pcLiteral, const Ts&... _items) {
        QDebug qdebug = QMessageLogger().warning();
        Write(qdebug, _pcLiteral, _items...);
    }

    template <typename... Ts> static void Info(const char* _pcLiteral, const Ts&... _items) {
        QDebug qdebug = QMessageLogger().info();
        Write(qdebug, _pcLiteral, _items...);
    }

private:
    template <typename... Ts>
    static void Write(QDebug& _qdebug, const char* _pcLiteral, const Ts&... _items) {
        _qdebug.noquote();
        _qdebug << "_ZEB_"
                << "Panoview"
                << ":" << _pcLiteral;
        (void)(_qdebug << ... << _items);
    }
};

#endif // CLS_ZEB_LOG_H
