#include "fuzz/FuzzTarget.h"

std::vector<std::string> mvgeo::fuzz::seeds()
{
    // tag 1 to 5 or none, a block of 8 bytes, and behind it: type, no lie, claimed size, stored bytes.
    const std::string text("A\0B\0\0\0", 6);
    const std::string values[] = {text, std::string("A\0B", 3), "abcd", "abcdefgh", "", std::string(600, 'x')};
    std::vector<std::string> seeds;
    for (char tag = 0; tag < 8; ++tag)
        for (char kind = 0; kind < 8; ++kind)
            for (const std::string& value : values)
            {
                std::string seed = {tag, 8};
                seed += "12345678";
                seed += {1, kind, 0, 0, 0, 0, 0};
                seeds.push_back(seed + value);
            }
    // The store claims a size: 5, the first that is negative, the largest.
    for (const std::string& claimed :
         {std::string("\5\0\0\0", 4), std::string("\xFF\xFF\xFF\x3F"), std::string("\xFF\xFF\xFF\xFF")})
        for (const char kind : {'\x80', '\x81', '\x82'})
            seeds.push_back(std::string({1, 0, 0, kind, 0}) + claimed + text);
    // And changes its mind: fails, becomes another type, grows.
    for (const char lie : {'\6', '\x21', '\x18'})
        seeds.push_back(std::string({5, 0, 0, 0, lie, 0, 0, 0, 0}) + text);
    return seeds;
}
