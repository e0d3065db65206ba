#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "preview/Capture.h"

/// Contrast of dark text on a light ground below which it is hard to read: level AA for text of
/// ordinary size in the Web Content Accessibility Guidelines 2.1.
constexpr double leastContrast = 4.5;

/// A label on the main window, with the name that a warning gives it.
struct Label {
    HWND window;
    std::string name;
};

/// What makes a label hard to read, one line of UTF-8 each: a text wider than the label, an
/// ampersand, which a label does not show, too little contrast against the picture behind the text.
std::vector<std::string> CheckLabel(const Label& label, const Pixels& background);

/// The same for a message box or task dialog, whose texts wrap: a single word wider than the place
/// of its text, a button's text wider than the button.
std::vector<std::string> CheckBox(HWND box);

/// Contrast between black and what nineteen twentieths of the pixels in a rectangle reach: from 1
/// for black to 21 for white; 21 for a rectangle outside the picture.
double ContrastBehind(const Pixels& background, RECT rectangle);
