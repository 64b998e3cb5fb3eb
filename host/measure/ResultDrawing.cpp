#include "measure/ResultDrawing.h"

#include "view/SceneStyle.h"

#include <osg/BlendFunc>
#include <osg/ColorMask>
#include <osg/Depth>
#include <osg/Geometry>
#include <osg/LineWidth>
#include <osg/MatrixTransform>
#include <osg/Point>
#include <osg/Uniform>

namespace mvgeo::host
{
namespace
{
const char* const kVertexShader = R"(#version 120
uniform float pull;
void main()
{
    vec4 position = gl_ModelViewMatrix * gl_Vertex;
    float pixels = pull / gl_ProjectionMatrix[1][1];
    if (gl_ProjectionMatrix[2][3] != 0.0)
        position.xyz *= 1.0 - pixels; // towards the eye, so that it stays where it is in the picture
    else
        position.z += pixels;
    gl_Position = gl_ProjectionMatrix * position;
}
)";

const char* const kFragmentShader = R"(#version 120
uniform vec4 colour;
void main()
{
    gl_FragColor = colour;
}
)";

const osg::Vec4f kBright(1.0F, 0.87F, 0.10F, 1.0F);
const osg::Vec4f kDark(0.10F, 0.05F, 0.02F, 1.0F);
const osg::Vec4f kTint(0.95F, 0.20F, 0.55F, 0.45F);

// How far things are drawn in front of where they are. A displayed tile is off the finest one by a few pixels of
// height.
constexpr float kLinePull = 6.0F; // pixels
constexpr float kDotPull = 20.0F; // the surface below half of a dot may come nearer
constexpr float kTintPull = 4.0F; // below the lines around it

/** @param height  of the picture, pixels */
osg::Uniform* pullUniform(float pixels, int height)
{
    return new osg::Uniform("pull", 2.0F * pixels / static_cast<float>(height));
}

enum class Pass
{
    depth = 10, // of the surface: no place is tinted twice where one part hides another
    tint,
    edge,
    inside
};

/** Around the first point, so that the numbers are small. */
osg::ref_ptr<osg::Node> makeNode(const Points& points, GLenum primitives)
{
    const osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    vertices->reserve(points.size());
    for (const osg::Vec3d& point : points)
        vertices->push_back(osg::Vec3f(point - points.front()));
    const osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseDisplayList(false);
    geometry->setUseVertexBufferObjects(true);
    geometry->setVertexArray(vertices);
    geometry->addPrimitiveSet(new osg::DrawArrays(primitives, 0, static_cast<GLsizei>(points.size())));
    const osg::ref_ptr<osg::MatrixTransform> node = new osg::MatrixTransform;
    node->setMatrix(osg::Matrixd::translate(points.front()));
    node->addChild(geometry);
    return node;
}

/** One drawing of the node: after those of lower passes, in a colour and state of its own. */
osg::StateSet& addPass(osg::Group& scene, osg::Node& node, Pass pass, const osg::Vec4f& colour)
{
    const osg::ref_ptr<osg::Group> group = new osg::Group;
    osg::StateSet& state = *group->getOrCreateStateSet();
    state.addUniform(new osg::Uniform("colour", colour));
    state.setRenderBinDetails(static_cast<int>(pass), "RenderBin");
    group->addChild(&node);
    scene.addChild(group);
    return state; // the scene holds it
}
} // namespace

ResultDrawing::ResultDrawing(int height) : _height(height), _scene(new osg::Group)
{
    osg::StateSet& state = *_scene->getOrCreateStateSet();
    state.setAttributeAndModes(makeProgram("result", kVertexShader, kFragmentShader));
    state.addUniform(pullUniform(kLinePull, height));
    state.setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    state.setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
    state.setAttributeAndModes(new osg::Depth(osg::Depth::LEQUAL, 0.0, 1.0, /*writeMask*/ false));
}

void ResultDrawing::addLines(const std::vector<Points>& lines)
{
    for (const Points& line : lines)
    {
        if (line.empty()) continue;
        const osg::ref_ptr<osg::Node> node = makeNode(line, GL_LINE_STRIP);
        addPass(*_scene, *node, Pass::edge, kDark).setAttribute(new osg::LineWidth(5.0F));
        addPass(*_scene, *node, Pass::inside, kBright).setAttribute(new osg::LineWidth(2.5F));
    }
}

void ResultDrawing::addTriangles(const Points& triangles)
{
    if (triangles.empty()) return;
    const osg::ref_ptr<osg::Node> node = makeNode(triangles, GL_TRIANGLES);
    node->getOrCreateStateSet()->addUniform(pullUniform(kTintPull, _height));
    osg::StateSet& depth = addPass(*_scene, *node, Pass::depth, kTint);
    depth.setAttribute(new osg::ColorMask(false, false, false, false));
    depth.setAttributeAndModes(new osg::Depth(osg::Depth::LEQUAL, 0.0, 1.0, true));
    addPass(*_scene, *node, Pass::tint, kTint)
        .setAttributeAndModes(new osg::BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA));
}

void ResultDrawing::addPoints(const Points& points)
{
    if (points.empty()) return;
    const osg::ref_ptr<osg::Node> node = makeNode(points, GL_POINTS);
    node->getOrCreateStateSet()->addUniform(pullUniform(kDotPull, _height));
    addPass(*_scene, *node, Pass::edge, kDark).setAttribute(new osg::Point(13.0F));
    addPass(*_scene, *node, Pass::inside, kBright).setAttribute(new osg::Point(8.0F));
}
} // namespace mvgeo::host
