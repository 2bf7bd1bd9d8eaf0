#include "apps/common/pictureproblem.h"

#include "kivrender/platform/kivimage.h"
#include "kivrender/platform/kivtext.h"

#include <filesystem>

#include <unistd.h>

PictureProblem problemOfPicture(const std::wstring& file) {
    if (file.empty()) {
        return PictureProblem::none;
    }
    const std::string path = kivToUtf8(file);
    std::error_code problem;
    const std::filesystem::file_status kind = std::filesystem::status(path, problem);
    if (!std::filesystem::exists(kind)) {
        return PictureProblem::missing;
    }
    if (!std::filesystem::is_regular_file(kind)) {
        return PictureProblem::noFile;
    }
    if (access(path.c_str(), R_OK) != 0) {
        return PictureProblem::unreadable;
    }
    return KivImage::load(file) != nullptr ? PictureProblem::none : PictureProblem::noPicture;
}

const char* pictureProblemText(PictureProblem problem) {
    switch (problem) {
    case PictureProblem::none:
        break;
    case PictureProblem::missing:
        return "there is no such file";
    case PictureProblem::noFile:
        return "it is no plain file";
    case PictureProblem::unreadable:
        return "it may not be read";
    case PictureProblem::noPicture:
        return "it is no whole picture of a kind that can be read: PNG, JPEG, TIFF, BMP or GIF";
    }
    return "";
}
