// The opening of a handle, from the files to the slot.
#pragma once

#include <string>

namespace ruvo {

// Reads the profile's files, builds the tables and takes a slot. deviceInfoName is the name of the
// device information file, id that of the ID file without ".txt"; both have only the bytes 20..7F
// (hex). Returns the handle, or -30, -50 or -100 to -340. A failed open leaves only the handle
// array and "MaximumHandle". Throws std::bad_alloc.
short Lutm_OpenHandleCommon(const std::string& deviceInfoName, const std::string& id);

}  // namespace ruvo
