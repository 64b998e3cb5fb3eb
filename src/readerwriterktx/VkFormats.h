#pragma once

#include <cstdint>

/** Vulkan's formats, as KTX 2 files number them, by Vulkan's names: VK_FORMAT_R8_UNORM is kR8Unorm. Vulkan's own header
 * is no dependency. The endings _PACK16, _PACK32, _BLOCK and _BLOCK_IMG are left out, and so is what no image can
 * carry. */
namespace mvgeo::vk
{

constexpr std::uint32_t kUndefined = 0;

// Several channels in one number.
constexpr std::uint32_t kR4G4B4A4Unorm = 2, kB4G4R4A4Unorm = 3, kR5G6B5Unorm = 4, kB5G6R5Unorm = 5, kR5G5B5A1Unorm = 6,
                        kB5G5R5A1Unorm = 7, kA1R5G5B5Unorm = 8, kA4R4G4B4Unorm = 1000340000,
                        kA4B4G4R4Unorm = 1000340001;
constexpr std::uint32_t kA2R10G10B10Unorm = 58, kA2R10G10B10Uint = 62, kA2B10G10R10Unorm = 64, kA2B10G10R10Uint = 68;

// 8 bits a channel.
constexpr std::uint32_t kR8Unorm = 9, kR8Snorm = 10, kR8Uint = 13, kR8Sint = 14, kR8Srgb = 15;
constexpr std::uint32_t kR8G8Unorm = 16, kR8G8Snorm = 17, kR8G8Uint = 20, kR8G8Sint = 21, kR8G8Srgb = 22;
constexpr std::uint32_t kR8G8B8Unorm = 23, kR8G8B8Snorm = 24, kR8G8B8Uint = 27, kR8G8B8Sint = 28, kR8G8B8Srgb = 29;
constexpr std::uint32_t kB8G8R8Unorm = 30, kB8G8R8Snorm = 31, kB8G8R8Uint = 34, kB8G8R8Sint = 35, kB8G8R8Srgb = 36;
constexpr std::uint32_t kR8G8B8A8Unorm = 37, kR8G8B8A8Snorm = 38, kR8G8B8A8Uint = 41, kR8G8B8A8Sint = 42,
                        kR8G8B8A8Srgb = 43;
constexpr std::uint32_t kB8G8R8A8Unorm = 44, kB8G8R8A8Snorm = 45, kB8G8R8A8Uint = 48, kB8G8R8A8Sint = 49,
                        kB8G8R8A8Srgb = 50;

// 16 bits a channel.
constexpr std::uint32_t kR16Unorm = 70, kR16Snorm = 71, kR16Uint = 74, kR16Sint = 75, kR16Sfloat = 76;
constexpr std::uint32_t kR16G16Unorm = 77, kR16G16Snorm = 78, kR16G16Uint = 81, kR16G16Sint = 82, kR16G16Sfloat = 83;
constexpr std::uint32_t kR16G16B16Unorm = 84, kR16G16B16Snorm = 85, kR16G16B16Uint = 88, kR16G16B16Sint = 89,
                        kR16G16B16Sfloat = 90;
constexpr std::uint32_t kR16G16B16A16Unorm = 91, kR16G16B16A16Snorm = 92, kR16G16B16A16Uint = 95,
                        kR16G16B16A16Sint = 96, kR16G16B16A16Sfloat = 97;

// 32 bits a channel.
constexpr std::uint32_t kR32Uint = 98, kR32Sint = 99, kR32Sfloat = 100;
constexpr std::uint32_t kR32G32Uint = 101, kR32G32Sint = 102, kR32G32Sfloat = 103;
constexpr std::uint32_t kR32G32B32Uint = 104, kR32G32B32Sint = 105, kR32G32B32Sfloat = 106;
constexpr std::uint32_t kR32G32B32A32Uint = 107, kR32G32B32A32Sint = 108, kR32G32B32A32Sfloat = 109;

// Depth, stencil, and what has both: these numbers are the first and the last of them.
constexpr std::uint32_t kD16Unorm = 124, kD32Sfloat = 126, kS8Uint = 127, kD32SfloatS8Uint = 130;

// Blocks.
constexpr std::uint32_t kBc1RgbUnorm = 131, kBc1RgbSrgb = 132, kBc1RgbaUnorm = 133, kBc1RgbaSrgb = 134;
constexpr std::uint32_t kBc2Unorm = 135, kBc2Srgb = 136, kBc3Unorm = 137, kBc3Srgb = 138;
constexpr std::uint32_t kBc4Unorm = 139, kBc4Snorm = 140, kBc5Unorm = 141, kBc5Snorm = 142;
constexpr std::uint32_t kBc6hUfloat = 143, kBc6hSfloat = 144, kBc7Unorm = 145, kBc7Srgb = 146;
constexpr std::uint32_t kEtc2R8G8B8Unorm = 147, kEtc2R8G8B8Srgb = 148, kEtc2R8G8B8A1Unorm = 149,
                        kEtc2R8G8B8A1Srgb = 150, kEtc2R8G8B8A8Unorm = 151, kEtc2R8G8B8A8Srgb = 152, kEacR11Unorm = 153,
                        kEacR11Snorm = 154, kEacR11G11Unorm = 155, kEacR11G11Snorm = 156;
constexpr std::uint32_t kAstc4x4Unorm = 157, kAstc4x4Srgb = 158, kAstc5x4Unorm = 159, kAstc5x4Srgb = 160,
                        kAstc5x5Unorm = 161, kAstc5x5Srgb = 162, kAstc6x5Unorm = 163, kAstc6x5Srgb = 164,
                        kAstc6x6Unorm = 165, kAstc6x6Srgb = 166, kAstc8x5Unorm = 167, kAstc8x5Srgb = 168,
                        kAstc8x6Unorm = 169, kAstc8x6Srgb = 170, kAstc8x8Unorm = 171, kAstc8x8Srgb = 172,
                        kAstc10x5Unorm = 173, kAstc10x5Srgb = 174, kAstc10x6Unorm = 175, kAstc10x6Srgb = 176,
                        kAstc10x8Unorm = 177, kAstc10x8Srgb = 178, kAstc10x10Unorm = 179, kAstc10x10Srgb = 180,
                        kAstc12x10Unorm = 181, kAstc12x10Srgb = 182, kAstc12x12Unorm = 183, kAstc12x12Srgb = 184;
constexpr std::uint32_t kPvrtc1_2BppUnorm = 1000054000, kPvrtc1_4BppUnorm = 1000054001, kPvrtc1_2BppSrgb = 1000054004,
                        kPvrtc1_4BppSrgb = 1000054005;

} // namespace mvgeo::vk
