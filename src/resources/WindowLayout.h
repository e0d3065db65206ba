#pragma once

/// Where the window's controls lie on its picture, in pixels. The picture holds the track of the
/// bar, so whoever draws or checks a picture goes by these.

/// The least size of a picture on which all of them fit.
constexpr int leastPictureWidth = 500;
constexpr int leastPictureHeight = 254;

/// The bar at full width, and the track around it.
constexpr int barLeft = 90;
constexpr int barTop = 176;
constexpr int barFullWidth = 319;
constexpr int barHeight = 15;
constexpr int barTrackWidth = 321;

/// The two labels are as wide as the picture.
constexpr int titleTop = 127;
constexpr int titleHeight = 30;
constexpr int titleFontHeight = 28;
constexpr int statusTop = 200;
constexpr int statusHeight = 15;
constexpr int statusFontHeight = 12;
