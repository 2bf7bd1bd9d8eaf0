#include "apps/studio/drawingfile.h"

#include "apps/studio/studiotexts.h"
#include "kivrender/platform/kivsystemerror.h"
#include "qt/kivqttext.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

namespace {

QString sizeText(double width, double height) {
    const QLocale locale;
    return QStringLiteral("%1 × %2 mm").arg(locale.toString(width, 'f', 1), locale.toString(height, 'f', 1));
}

} // namespace

std::vector<StudioSaveKind> drawingKinds() {
    return {{kindTitle(86), {"svg"}},
            {kindTitle(75), {"pdf"}},
            {studioText(StudioText::dxfFilter), {"dxf"}},
            {kindTitle(70), {"eps"}},
            {kindTitle(4), {"ps"}},
            {kindTitle(76), {"ai"}},
            {studioText(StudioText::hpglFilter), {"hpgl", "plt"}}};
}

bool drawingFormatOf(const QString& file, KivDrawingFormat* format) {
    return kivDrawingFormatOf(QFileInfo(file).suffix().toLower().toStdString(), format);
}

bool holdsPictures(const QString& file) {
    KivDrawingFormat format = KivDrawingFormat::svg;
    return !drawingFormatOf(file, &format) || kivHoldsPictures(format);
}

QString sheetProblemText(const KivSheetPlace& place, const KivSheet& sheet) {
    switch (place.problem) {
    case KivSheetProblem::none:
        return {};
    case KivSheetProblem::noScale:
        return studioText(StudioText::sheetNoScale);
    case KivSheetProblem::noRoom:
        return studioText(StudioText::sheetNoRoom);
    case KivSheetProblem::tooLarge:
        return studioText(StudioText::sheetTooLarge)
            .arg(sizeText(place.drawnWidth, place.drawnHeight),
                 sizeText(sheet.width - 2.0 * sheet.margin, sheet.height - 2.0 * sheet.margin));
    case KivSheetProblem::impossible:
        break;
    }
    return studioText(StudioText::sheetImpossible);
}

bool writeDrawingFile(const KivVectorDrawing& drawing, const KivSheet& sheet, const QString& file,
                      const std::function<bool()>& isCancelled, QString* why) {
    KivDrawingFormat format = KivDrawingFormat::svg;
    if (!drawingFormatOf(file, &format)) {
        *why = studioText(StudioText::noDrawingEnding).arg(QFileInfo(file).suffix());
        return false;
    }
    kivSetLastError(0);
    switch (kivWriteDrawing(drawing, sheet, format, kivFromQt(file), isCancelled)) {
    case KivDrawingWritten::done:
        return true;
    case KivDrawingWritten::sheetProblem:
        *why = sheetProblemText(kivPlaceOnSheet(drawing, sheet, format), sheet);
        return false;
    case KivDrawingWritten::failed:
        *why = QDir::toNativeSeparators(file) + QLatin1Char('\n') + kivToQt(kivSystemErrorText(kivGetLastError()));
        return false;
    case KivDrawingWritten::cancelled:
        break;
    }
    return false;
}
