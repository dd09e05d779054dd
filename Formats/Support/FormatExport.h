#pragma once

/// \file
/// Export switch of the library that the format modules and the programs that use them share.

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#if defined(LumvoFormats_EXPORTS)
#    define FORMATS_API KELVRA_EXPORT
#else
#    define FORMATS_API KELVRA_IMPORT
#endif
