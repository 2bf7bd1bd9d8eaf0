// Texts between the library and Qt.
//
// The library's texts are wide strings of whole characters (UTF-32 on Linux, UTF-16 on Windows), Qt's are UTF-16. Both
// ways are exact for everything that is valid Unicode.
#ifndef QT_KIVQTTEXT_H
#define QT_KIVQTTEXT_H

#include <QString>

#include <string>

// A copy of the whole text, zeros within it included.
inline QString kivToQt(const std::wstring& text) {
    return QString::fromWCharArray(text.data(), static_cast<qsizetype>(text.size()));
}

// The same the other way; a null QString gives an empty text.
inline std::wstring kivFromQt(const QString& text) {
    return text.toStdWString();
}

#endif
