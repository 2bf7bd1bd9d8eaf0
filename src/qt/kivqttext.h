// Texts between the library and Qt.
#ifndef QT_KIVQTTEXT_H
#define QT_KIVQTTEXT_H

#include <QString>

#include <string>

inline QString kivToQt(const std::wstring& text) {
    return QString::fromWCharArray(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::wstring kivFromQt(const QString& text) {
    return text.toStdWString();
}

#endif
