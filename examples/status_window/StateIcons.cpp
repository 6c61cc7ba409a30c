#include "StateIcons.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace {

// A shape says whether a point belongs to it. The picture's square reaches from -1 to 1; y grows downwards.
using Shape = bool (*)(double x, double y);

/// Whether a point is on a stroke between two others.
bool isOnStroke(double x, double y, double fromX, double fromY, double toX, double toY) {
    const double length = std::hypot(toX - fromX, toY - fromY);
    const double along = ((x - fromX) * (toX - fromX) + (y - fromY) * (toY - fromY)) / (length * length);
    const double nearest = std::clamp(along, 0.0, 1.0);
    return std::hypot(x - fromX - nearest * (toX - fromX), y - fromY - nearest * (toY - fromY)) < 0.14;
}

bool isInDisc(double x, double y) {
    return std::hypot(x, y) < 0.95;
}

bool isInDiamond(double x, double y) {
    return std::abs(x) + std::abs(y) < 1;
}

bool isInTriangle(double x, double y) {
    return y < 0.85 && y > 2 * std::abs(x) - 1;
}

bool isInCheckMark(double x, double y) {
    return isOnStroke(x, y, -0.45, 0.05, -0.1, 0.4) || isOnStroke(x, y, -0.1, 0.4, 0.48, -0.35);
}

bool isInArrow(double x, double y) {
    return x > -0.3 && std::abs(y) < (0.6 - x) * 0.6;
}

bool isInCross(double x, double y) {
    return isOnStroke(x, y, -0.3, -0.3, 0.3, 0.3) || isOnStroke(x, y, -0.3, 0.3, 0.3, -0.3);
}

bool isInBar(double x, double y) {
    return isOnStroke(x, y, -0.45, 0, 0.45, 0);
}

bool isInExclamationMark(double x, double y) {
    return isOnStroke(x, y, 0, -0.25, 0, 0.2) || std::hypot(x, y - 0.6) < 0.14;
}

bool isInHole(double x, double y) {
    return std::hypot(x, y) < 0.65;
}

struct StatePicture {
    PrinterState state;
    COLORREF colour;
    Shape body;
    Shape mark; // in white
};

// The last one is also that of the states without a picture of their own.
constexpr StatePicture pictures[] = {
    {PrinterState::idle, RGB(0x10, 0x7C, 0x10), isInDisc, isInCheckMark},
    {PrinterState::printing, RGB(0x00, 0x5F, 0xB8), isInDisc, isInArrow},
    {PrinterState::error, RGB(0xC4, 0x2B, 0x1C), isInDiamond, isInCross},
    {PrinterState::unreachable, RGB(0xC4, 0x2B, 0x1C), isInDisc, isInBar},
    {PrinterState::withoutAlerts, RGB(0x9D, 0x5D, 0x00), isInTriangle, isInExclamationMark},
    {PrinterState::unknown, RGB(0x60, 0x60, 0x60), isInDisc, isInHole},
};

const StatePicture &pictureOf(PrinterState state) {
    const auto *const picture = std::ranges::find(pictures, state, &StatePicture::state);
    return picture != std::end(pictures) ? *picture : pictures[std::size(pictures) - 1];
}

/// One pixel with its opacity, by 4 * 4 samples: edges become smooth at any size. The colour is multiplied by the
/// opacity, as the system wants it.
uint32_t pixel(const StatePicture &picture, int column, int row, int size) {
    constexpr int samples = 4;
    const double half = size / 2.0;
    const double radius = 0.7 * half; // the rest is a margin
    unsigned body = 0;
    unsigned mark = 0;
    for (int sample = 0; sample < samples * samples; ++sample) {
        const double x = (column + (sample % samples + 0.5) / samples - half) / radius;
        const double y = (row + (sample / samples + 0.5) / samples - half) / radius;
        const bool isInside = picture.body(x, y);
        body += isInside ? 1 : 0;
        mark += isInside && picture.mark(x, y) ? 1 : 0;
    }
    const auto mixed = [&](uint32_t part) { return (part * (body - mark) + 255 * mark) / (samples * samples); };
    return 255 * body / (samples * samples) << 24 | mixed(GetRValue(picture.colour)) << 16 |
           mixed(GetGValue(picture.colour)) << 8 | mixed(GetBValue(picture.colour));
}

} // namespace

HIMAGELIST makeStateIcons(int size) {
    const HIMAGELIST list = ImageList_Create(size, size, ILC_COLOR32, static_cast<int>(std::size(pictures)), 0);
    BITMAPINFO information = {};
    information.bmiHeader.biSize = sizeof information.bmiHeader;
    information.bmiHeader.biWidth = size;
    information.bmiHeader.biHeight = -size; // the upper row first
    information.bmiHeader.biPlanes = 1;
    information.bmiHeader.biBitCount = 32;
    for (const StatePicture &picture : pictures) {
        void *bits = nullptr;
        const HBITMAP bitmap = CreateDIBSection(nullptr, &information, DIB_RGB_COLORS, &bits, nullptr, 0);
        if (bitmap == nullptr) {
            break; // the states still have their names
        }
        for (int index = 0; index < size * size; ++index) {
            static_cast<uint32_t *>(bits)[index] = pixel(picture, index % size, index / size, size);
        }
        ImageList_Add(list, bitmap, nullptr);
        DeleteObject(bitmap);
    }
    return list;
}

int stateIcon(PrinterState state) {
    return static_cast<int>(&pictureOf(state) - pictures);
}

COLORREF stateColour(PrinterState state) {
    return pictureOf(state).colour;
}
