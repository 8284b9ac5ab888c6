#pragma once
// The shared blocks of the seismograph importers: the multi-file and output
// selections, the SU trace writer and the conversion frame.
#include "importers/seismograph/conversion_frame.h"
#include "importers/seismograph/selection.h"
#include "importers/seismograph/su_trace_writer.h"
