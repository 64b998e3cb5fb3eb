#pragma once

#define MVGEO_API

/** Never compiled: headers as they would be if this function had been left out of the library. */
MVGEO_API int notInTheLibrary(int value);
