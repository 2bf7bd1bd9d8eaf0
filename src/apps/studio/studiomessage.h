// Messages of the library and the readers, which speak English, in the language of the program.
#ifndef APPS_STUDIO_STUDIOMESSAGE_H
#define APPS_STUDIO_STUDIOMESSAGE_H

#include "apps/common/translation/translation.h"
#include "qt/kivqttext.h"

inline QString studioMessage(const std::wstring& english) {
    return QString::fromStdString(translatedMessage(kivToQt(english).toStdString()));
}

#endif
