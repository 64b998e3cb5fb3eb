#pragma once

#include <osgDB/ReaderWriter>

/** Reads and writes KTX 1 and KTX 2 textures; Basis textures are transcoded on the way in and can be made on the way
 * out.
 *
 * It answers for files named ".ktx" and, by an alias, ".ktx2", whatever version is inside. The declared options are for
 * writing; reading looks at "UseDXT", "UseETC" and "UseRGBA" (KtxTranscoding.h).
 *
 * A file that is refused stays refused: OSG would look for a plug-in of its own for ".ktx" then, which takes sizes on
 * trust and writes what was not to be written. The first object made therefore sends it where there is none.
 *
 * Thread: any, several at once; it keeps no state. Exceptions end here.
 */
class ReaderWriterKTX : public osgDB::ReaderWriter
{
public:
    ReaderWriterKTX();

    const char* className() const override { return "[luflegle] KTX texture reader"; }
    bool acceptsExtension(const std::string& extension) const override;

    ReadResult readObject(const std::string& fileName, const osgDB::Options* options) const override;
    ReadResult readObject(std::istream& stream, const osgDB::Options* options) const override;

    /** ERROR_IN_READING_FILE for a file or stream that is refused, with the reason as message. */
    ReadResult readImage(const std::string& fileName, const osgDB::Options* options) const override;
    /** Takes the stream from where it stands to its end. */
    ReadResult readImage(std::istream& stream, const osgDB::Options* options) const override;

    /** The file appears whole or not at all. An osg::ImageSequence becomes an array, or with the option "SavingCubeMap"
     * = "true" a cube map. */
    WriteResult writeImage(const osg::Image& image, const std::string& fileName,
                           const osgDB::Options* options) const override;
    WriteResult writeImage(const osg::Image& image, std::ostream& stream, const osgDB::Options* options) const override;

protected:
    ~ReaderWriterKTX() override;
};
