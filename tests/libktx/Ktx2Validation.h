#pragma once

#include <cstddef>
#include <string>

namespace mvgeo
{
/** What is wrong with the bytes as a KTX 2.0 file, the first thing found; empty if nothing is. Written from the public
 * description of the format alone and strict: every byte belongs to something, and what lies between is zero.
 *
 * A format without an entry in Ktx2FormatFacts has its data format descriptor checked in general only. */
std::string ktx2Violation(const unsigned char* bytes, std::size_t size);
} // namespace mvgeo
