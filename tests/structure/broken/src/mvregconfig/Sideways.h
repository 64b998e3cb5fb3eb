#pragma once

#include "readerwriterktx/ReaderWriterKTX.h"
