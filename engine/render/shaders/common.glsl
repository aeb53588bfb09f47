// Shared by every shader: it stands in front of each file when the file is compiled.
//
// Every fragment function returns premultiplied colour for "over" blending (one, one minus source
// alpha). Quad vertices are (x, y) in clip space with y up and (u, v); the vertex functions turn y
// over for this API's clip space.

layout(push_constant) uniform Uniforms {
    mat4 mvp;
    vec4 params;
    vec4 params2;
    vec4 params3;
} uniforms;
