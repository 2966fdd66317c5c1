// Shows what a display shows of a document, again at each change of it.
#pragma once

#include "program/commands/PictureOptions.h"
#include "program/profile/ProfileOptions.h"

#include <string>

struct WatchedPreview {
    std::string file;
    ProfileOptions profile;
    PictureOptions picture;
    bool sgr = false;  // even if the output is no terminal
};

// In a terminal, draws in place, with marquee, blink and clock as time goes by, until "q" or a
// signal. Else writes a still picture at each change, and what is wrong to the standard error.
// Returns the exit status. Throws std::runtime_error if the file cannot be read at the beginning,
// or the profile.
int watchPreview(const WatchedPreview& options);
