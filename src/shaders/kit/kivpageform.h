// A property page as a form of Qt Designer, made from a shader's table and the page's texts: a box for each group with
// a row for each setting, and a button that sets all of them back. The plug-in needs no toolkit for it; whoever shows
// windows makes one of the form.
//
// Numbers are in a KivNumberField, with the dynamic properties decimals, minimum, maximum, softMaximum (where its
// slider ends), step and suffix; colours in a KivColorField.
#ifndef SHADERS_KIT_KIVPAGEFORM_H
#define SHADERS_KIT_KIVPAGEFORM_H

#include "shaders/kit/kivpagetexts.h"

#include <string>

// The numbers of the controls: of the first setting, with the others behind it in the order of the table, and of the
// button.
inline constexpr int kivPageFirstControl = 1000;
inline constexpr int kivPageDefaultsControl = 999;

// How a number is shown: the digits behind the point, the step of the arrows, and where the slider ends, which is the
// setting's end unless that is far beyond what is of use.
struct KivNumberLook {
    int decimals = 0;
    double step = 1.0;
    double softMaximum = 0.0;
};

// unit: as in the texts. Shares and angles have their whole range on the slider.
KivNumberLook kivNumberLook(const KivSettingInfo& info, std::string_view unit);

// The form in XML, UTF-8. Texts that do not fit the table are made to (kivFitPageTexts); what can't stand in XML is
// left out of them.
std::string kivPageForm(const KivPageTexts& texts, const KivSettingInfo* table, int count);

#endif
