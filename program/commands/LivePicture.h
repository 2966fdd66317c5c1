// A picture in the terminal that is drawn again in place, as a display changes.
#pragma once

#include "program/commands/PictureOptions.h"

class LivePicture {
public:
    // The options must outlive the picture.
    explicit LivePicture(const PictureOptions& options) : m_options(options) {}

    // Draws on the standard output, in place of the picture before; or says there that the terminal
    // is too small for it.
    void draw(const Screen& screen);
    void erase();

private:
    const PictureOptions& m_options;
    int m_rows = 0;  // of the picture that is there
};
