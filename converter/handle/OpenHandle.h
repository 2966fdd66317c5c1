// The opening of a handle, from the files to the slot.
#pragma once

#include <string>

namespace ruvo {

// Reads the profile's files, builds the tables and takes a slot. deviceInfoName and id are the kept
// characters of the caller's strings. Returns the handle or a negative status; a failed open leaves
// nothing behind but the handle array and "MaximumHandle". Throws std::bad_alloc.
short Lutm_OpenHandleCommon(const std::string& deviceInfoName, const std::string& id);

}  // namespace ruvo
