#pragma once

#include <ktx.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <vector>

namespace mvgeo
{
using Bytes = std::vector<unsigned char>;

/** Appends a number as KTX files hold it: little-endian. */
void appendUint32(Bytes& bytes, std::uint32_t value);
void appendUint64(Bytes& bytes, std::uint64_t value);

/** The pieces of a file in order, before it is known where they go. Pixels are borrowed, so that a large texture is not
 *  held twice; they must live until the file is written. */
class FileContent
{
public:
    void add(Bytes bytes);
    void borrow(const void* bytes, std::size_t size);
    /** Zeros up to the next multiple. */
    void padTo(std::size_t alignment);
    std::size_t size() const { return _size; }

    /** *bytes comes from malloc() and is the caller's to free(). */
    ktx_error_code_e writeToMemory(ktx_uint8_t** bytes, ktx_size_t* size) const;
    ktx_error_code_e writeToStream(ktxStream& stream) const;
    /** A full disk is noticed here, not when the caller closes the file. */
    ktx_error_code_e writeToStdioStream(std::FILE* file) const;
    ktx_error_code_e writeToNamedFile(const char* name) const;

private:
    struct Piece
    {
        const void* bytes;
        std::size_t size;
    };

    std::deque<Bytes> _owned;
    std::vector<Piece> _pieces;
    std::size_t _size = 0;
};
} // namespace mvgeo
