#include "view/SceneStyle.h"

#include <osg/Depth>
#include <osg/Geode>
#include <osg/Geometry>
#include <osg/Uniform>

namespace mvgeo::host
{
namespace
{
const char* const kMeshVertexShader = R"(#version 120
varying vec3 eyePosition;
varying vec3 eyeNormal;
varying float height;
void main()
{
    vec4 position = gl_ModelViewMatrix * gl_Vertex;
    height = gl_Vertex.z; // terrain tiles are moved sideways only
    eyePosition = position.xyz;
    eyeNormal = gl_NormalMatrix * gl_Normal;
    gl_TexCoord[0] = gl_MultiTexCoord0;
    gl_Position = gl_ProjectionMatrix * position;
}
)";

const char* const kMeshFragmentShader = R"(#version 120
uniform sampler2D photo;
uniform bool hasPhoto;
uniform bool hasNormals;
uniform bool isTerrain;
uniform vec2 heightRange;
uniform mat4 osg_ViewMatrix;
varying vec3 eyePosition;
varying vec3 eyeNormal;
varying float height;

float sunlight()
{
    if (dot(eyeNormal, eyeNormal) == 0.0) return 1.0;
    vec3 sun = mat3(osg_ViewMatrix) * normalize(vec3(-0.6, -0.3, 0.7));
    float facing = max(dot(normalize(eyeNormal), sun), 0.0);
    return hasPhoto ? 0.66 + 0.46 * facing : 0.25 + 1.0 * facing; // level ground stays as it is
}

float light()
{
    if (isTerrain) return sunlight();
    if (hasPhoto && !hasNormals) return 1.0;
    vec3 facet = cross(dFdx(eyePosition), dFdy(eyePosition));
    vec3 normal = hasNormals && dot(eyeNormal, eyeNormal) > 0.0 ? eyeNormal : facet;
    if (dot(normal, normal) == 0.0) return 1.0;
    normal = normalize(normal);
    if (dot(normal, eyePosition) > 0.0) normal = -normal; // both sides are seen
    return 0.45 + 0.6 * max(dot(normal, normalize(vec3(-0.4, 0.7, 0.6))), 0.0);
}

vec4 heightColour()
{
    float part = clamp((height - heightRange.x) / max(heightRange.y - heightRange.x, 0.001), 0.0, 1.0);
    vec3 colour = mix(vec3(0.45, 0.60, 0.40), vec3(0.80, 0.78, 0.55), smoothstep(0.0, 0.35, part));
    colour = mix(colour, vec3(0.66, 0.53, 0.42), smoothstep(0.35, 0.7, part));
    return vec4(mix(colour, vec3(0.97), smoothstep(0.7, 1.0, part)), 1.0);
}

vec4 plainColour()
{
    return isTerrain ? heightColour() : vec4(0.78, 0.77, 0.75, 1.0);
}

void main()
{
    vec4 colour = hasPhoto ? texture2D(photo, gl_TexCoord[0].st) : plainColour();
    if (colour.a < 0.5) discard; // leaves and fences are cut out
    gl_FragColor = vec4(min(colour.rgb * light(), vec3(1.0)), 1.0);
}
)";

const char* const kSkyVertexShader = R"(#version 120
varying float height;
void main()
{
    height = gl_Vertex.y * 0.5 + 0.5;
    gl_Position = vec4(gl_Vertex.xy, 0.0, 1.0);
}
)";

const char* const kSkyFragmentShader = R"(#version 120
uniform vec3 lowColour;
uniform vec3 highColour;
varying float height;
void main()
{
    gl_FragColor = vec4(mix(lowColour, highColour, smoothstep(0.0, 1.0, height)), 1.0);
}
)";

const osg::Vec3f kSkyLow(0.93F, 0.95F, 0.96F);
const osg::Vec3f kSkyHigh(0.55F, 0.70F, 0.86F);

/** A rectangle over the whole picture, drawn first and behind everything. */
osg::ref_ptr<osg::Node> makeSky(const osg::Vec3f& low, const osg::Vec3f& high)
{
    const osg::ref_ptr<osg::Geometry> quad =
        osg::createTexturedQuadGeometry({-1.0F, -1.0F, 0.0F}, {2.0F, 0.0F, 0.0F}, {0.0F, 2.0F, 0.0F});
    quad->setUseDisplayList(false);
    quad->setUseVertexBufferObjects(true);
    quad->setCullingActive(false);
    osg::StateSet& state = *quad->getOrCreateStateSet();
    state.setAttributeAndModes(makeProgram("sky", kSkyVertexShader, kSkyFragmentShader));
    state.addUniform(new osg::Uniform("lowColour", low));
    state.addUniform(new osg::Uniform("highColour", high));
    state.setAttributeAndModes(new osg::Depth(osg::Depth::ALWAYS, 0.0, 1.0, false));
    state.setRenderBinDetails(-1, "RenderBin");

    osg::ref_ptr<osg::Geode> geode = new osg::Geode;
    geode->setCullingActive(false);
    geode->addDrawable(quad);
    return geode;
}
} // namespace

osg::ref_ptr<osg::Program> makeProgram(const char* name, const char* vertexShader, const char* fragmentShader)
{
    osg::ref_ptr<osg::Program> program = new osg::Program;
    program->setName(name);
    program->addShader(new osg::Shader(osg::Shader::VERTEX, vertexShader));
    program->addShader(new osg::Shader(osg::Shader::FRAGMENT, fragmentShader));
    return program;
}

void styleMesh(osg::StateSet& state, osg::Texture2D* texture, bool hasNormals)
{
    if (texture) state.setTextureAttribute(0, texture);
    state.addUniform(new osg::Uniform("hasPhoto", texture != nullptr));
    state.addUniform(new osg::Uniform("hasNormals", hasNormals));
}

osg::ref_ptr<osg::Group> makePictureScene(osg::Group& tiles, const std::optional<osg::Vec3f>& background,
                                          const std::optional<TerrainLook>& terrain)
{
    const osg::ref_ptr<osg::Group> model = new osg::Group;
    osg::StateSet& state = *model->getOrCreateStateSet();
    state.setAttributeAndModes(makeProgram("mesh", kMeshVertexShader, kMeshFragmentShader));
    state.addUniform(new osg::Uniform("photo", 0));
    state.addUniform(new osg::Uniform("isTerrain", terrain.has_value()));
    state.addUniform(new osg::Uniform("heightRange", terrain ? terrain->heightRange : osg::Vec2f()));
    state.setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
    state.setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    model->addChild(&tiles);

    osg::ref_ptr<osg::Group> scene = new osg::Group;
    scene->addChild(background ? makeSky(*background, *background) : makeSky(kSkyLow, kSkyHigh));
    scene->addChild(model);
    return scene;
}
} // namespace mvgeo::host
