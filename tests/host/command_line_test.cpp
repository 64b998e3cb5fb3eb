#include "ProgramRunner.h"

#include <array>
#include <cstdio>

TEST(CommandLine, HasHelpForEveryCommand)
{
    for (const char* command :
         {"", "sample", "info", "render", "fly", "view", "pick", "drape", "clip", "prebuild", "settings",
          "settings get", "settings set", "settings list", "texture", "texture info", "texture convert"})
    {
        SCOPED_TRACE(command);
        const Outcome outcome = run(std::string(command) + " --help");
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out.find("Usage:"), std::string::npos);
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(CommandLine, RefusesWhatItDoesNotKnow)
{
    expectOneSentence("", "command is required");
    expectOneSentence("draw", "draw");
    expectOneSentence("info --nonsense x", "--nonsense");
    expectOneSentence("info", "MODEL");
    expectOneSentence("render x", "--out");
    expectOneSentence("pick x 1", "Y");
}

TEST(CommandLine, RefusesValuesThatAreNotWhatTheyShouldBe)
{
    const std::string render = "render x --out a.png ";
    expectOneSentence(render + "--eye 1,2", "three numbers");
    expectOneSentence(render + "--target a,b,c", "three numbers");
    expectOneSentence(render + "--size 0x100", "WIDTHxHEIGHT");
    expectOneSentence(render + "--size 100", "WIDTHxHEIGHT");
    expectOneSentence(render + "--fov 180", "--fov");
    expectOneSentence(render + "--fov wide", "--fov");
    expectOneSentence(render + "--ortho -3", "--ortho");
    expectOneSentence(render + "--background red", "colour");
    expectOneSentence(render + "--timeout -1", "--timeout");
    expectOneSentence("fly x --frames 0", "--frames");
    expectOneSentence("sample x --roots 3", "--roots");
    expectOneSentence("sample x --textures webp", "--textures");
}

TEST(CommandLine, RefusesModelsThatAreNotThere)
{
    const TempFolder folder;
    std::filesystem::create_directories(folder.path("empty"));
    const std::string render = "render --out " + quoted(folder.path("p.png")) + " ";
    for (const std::string& command : {render, std::string("fly "), std::string("view ")})
    {
        expectOneSentence(command + quoted(folder.path("not there 没有")), "no file or folder");
        expectOneSentence(command + quoted(folder.path("empty")), "is empty");
    }
    expectOneSentence("info " + quoted(folder.path("not there 没有")), "no file or folder");
    expectOneSentence("pick " + quoted(folder.path("none")) + " 1 1", "no file or folder");
}

TEST(CommandLine, RefusesTilesThatAreNotTiles)
{
    const TempFolder folder;
    const std::string text = folder.write("text.osgb", "this is no tile");
    const std::string empty = folder.write("empty.osgb", "");
    const std::string half = folder.write("half.osgb", std::string("\x6C\x91\xE5\x1A\x14\xFA\xB1\x1A", 8) + "\1\2\3");
    for (const std::string& file : {text, empty, half})
        expectOneSentence("render " + quoted(file) + " --out " + quoted(folder.path("p.png")), "Cannot read the tile");
}

TEST(CommandLine, RefusesPicturesThatCannotBeWritten)
{
    const TempFolder folder;
    const std::string model = "render " + quoted(folder.path()) + " --out ";
    expectOneSentence(model + quoted(folder.path("missing/p.png")), "does not exist");
    expectOneSentence(model + quoted(folder.path("p.nonsense")), "picture format");
    expectOneSentence(model + quoted(folder.path("p")), "picture format");
    std::filesystem::create_directories(folder.path("p.png"));
    expectOneSentence(model + quoted(folder.path("p.png")), "replace a folder");
}

TEST(CommandLine, RefusesOptionsThatContradictEachOther)
{
    expectOneSentence("fly x --json --csv -", "standard output");
    expectOneSentence("fly x --every 3", "--out-dir");
    expectOneSentence("view x --frames 3", "--out");
    expectOneSentence("pick x 2000 5", "outside the picture");
    expectOneSentence("pick x 5 -1", "outside the picture");
}
