// Writes two root tiles of three levels into the folder that the command line names: 12 files.

#include "support/TilePyramid.h"

#include <cstdlib>

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) return EXIT_FAILURE;
    TilePyramidOptions options;
    options.rootTiles = 2;
    const TilePyramid pyramid(arguments[1], options);
    return pyramid.files().size() == 12 ? EXIT_SUCCESS : EXIT_FAILURE;
}
