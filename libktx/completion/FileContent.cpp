#include "FileContent.h"

#include <ktxint.h>

#include <cstdlib>
#include <cstring>

namespace mvgeo
{
void appendUint32(Bytes& bytes, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
    {
        bytes.push_back(static_cast<unsigned char>(value >> shift));
    }
}

void appendUint64(Bytes& bytes, std::uint64_t value)
{
    appendUint32(bytes, static_cast<std::uint32_t>(value));
    appendUint32(bytes, static_cast<std::uint32_t>(value >> 32));
}

void FileContent::add(Bytes bytes)
{
    _owned.push_back(std::move(bytes));
    borrow(_owned.back().data(), _owned.back().size());
}

void FileContent::borrow(const void* bytes, std::size_t size)
{
    if (size == 0) return;
    _pieces.push_back({bytes, size});
    _size += size;
}

void FileContent::padTo(std::size_t alignment)
{
    add(Bytes((alignment - _size % alignment) % alignment, 0));
}

ktx_error_code_e FileContent::writeToMemory(ktx_uint8_t** bytes, ktx_size_t* size) const
{
    auto* const all = static_cast<ktx_uint8_t*>(std::malloc(_size));
    if (!all) return KTX_OUT_OF_MEMORY;

    ktx_uint8_t* end = all;
    for (const Piece& piece : _pieces)
    {
        std::memcpy(end, piece.bytes, piece.size);
        end += piece.size;
    }
    *bytes = all;
    *size = _size;
    return KTX_SUCCESS;
}

ktx_error_code_e FileContent::writeToStream(ktxStream& stream) const
{
    for (const Piece& piece : _pieces)
    {
        const ktx_error_code_e result = stream.write(&stream, piece.bytes, 1, piece.size);
        if (result != KTX_SUCCESS) return result;
    }
    return KTX_SUCCESS;
}

ktx_error_code_e FileContent::writeToStdioStream(std::FILE* file) const
{
    for (const Piece& piece : _pieces)
    {
        if (std::fwrite(piece.bytes, 1, piece.size, file) != piece.size) return KTX_FILE_WRITE_ERROR;
    }
    return std::fflush(file) == 0 ? KTX_SUCCESS : KTX_FILE_WRITE_ERROR;
}

ktx_error_code_e FileContent::writeToNamedFile(const char* name) const
{
    std::FILE* const file = ktxFOpenUTF8(name, "wb");
    if (!file) return KTX_FILE_OPEN_FAILED;

    const ktx_error_code_e result = writeToStdioStream(file);
    const bool closed = std::fclose(file) == 0;
    return result == KTX_SUCCESS && !closed ? KTX_FILE_WRITE_ERROR : result;
}
} // namespace mvgeo
