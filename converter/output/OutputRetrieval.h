// The two retrievals of a handle's output: as one command stream, and as its three raw streams.
#pragma once

#include "converter/output/OutputChain.h"

namespace ruvo {

// RuvoGetOutputData for an open handle, with the same arguments and statuses; pulLength is not
// null.
short getOutputData(OutputChains& output, unsigned char* pucPrintData, unsigned long* pulLength);

// RuvoGetRawData for an open handle, with the same statuses; the buffers and lengths are in the
// order characters, tables, sets.
short getRawData(OutputChains& output, unsigned char* const (&buffers)[3],
                 unsigned long* const (&lengths)[3]);

}  // namespace ruvo
