// _ZEBFAULT_
// The one way the library writes a failure: a single line through Qt's message logger,
//   _ZEB_ Panoview : <literal> <value> <literal> ...
// items separated by single blanks, strings unquoted (what QDebug prints for a stream of them).
#ifndef CLS_ZEB_LOG_H
#define CLS_ZEB_LOG_H

#include <QByteArray>
#include <QDebug>
#include <QMessageLogger>

#include <initializer_list>

// One check of an operation: whether it refuses the call, and the line it writes when it does.
struct STRUCT_ZebCheck {
    bool m_blRefused;
    const char* m_pcLiteral;
};

class CLS_ZebLog {
public:
    // The library's one policy for a refused call (a bad argument, a state it cannot act in, an
    // engine or algorithm function that is not bound): the checks are looked at in their order,
    // the first that refuses writes its line, and the result is -1; 0 when none refuses. Every
    // condition is evaluated before the first line is written, so each must be safe on its own and
    // free of side effects.
    static int Refuse(std::initializer_list<STRUCT_ZebCheck> _checks) { return First(_checks, false); }
    // The same, with the line at info level.
    static int RefuseInfo(std::initializer_list<STRUCT_ZebCheck> _checks) { return First(_checks, true); }

    // Lines of classes that share code but name themselves: "[  <class>::<rest>" (the views).
    template <typename... Ts>
    static void WarningOf(const char* _pcClass, const char* _pcRest, const Ts&... _items) {
        Warning(Scoped(_pcClass, _pcRest).constData(), _items...);
    }
    static int RefuseOf(const char* _pcClass, std::initializer_list<STRUCT_ZebCheck> _checks) {
        for (const STRUCT_ZebCheck& tCheck : _checks) {
            if (tCheck.m_blRefused) {
                WarningOf(_pcClass, tCheck.m_pcLiteral);
                return -1;
            }
        }
        return 0;
    }

    template <typename... Ts> static void Warning(const char* _pcLiteral, const Ts&... _items) {
        QDebug qdebug = QMessageLogger().warning();
        Write(qdebug, _pcLiteral, _items...);
    }

    template <typename... Ts> static void Info(const char* _pcLiteral, const Ts&... _items) {
        QDebug qdebug = QMessageLogger().info();
        Write(qdebug, _pcLiteral, _items...);
    }

private:
    static QByteArray Scoped(const char* _pcClass, const char* _pcRest) {
        return QByteArray("[  ") + _pcClass + "::" + _pcRest;
    }

    static int First(std::initializer_list<STRUCT_ZebCheck> _checks, bool _blInfo) {
        for (const STRUCT_ZebCheck& tCheck : _checks) {
            if (!tCheck.m_blRefused)
                continue;
            if (_blInfo)
                Info(tCheck.m_pcLiteral);
            else
                Warning(tCheck.m_pcLiteral);
            return -1;
        }
        return 0;
    }

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
