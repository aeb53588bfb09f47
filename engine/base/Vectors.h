// Vectors and matrices: GLM's, under the names of the field. Column-major, single precision
// unless the name says double.
#pragma once

#include <glm/glm.hpp>

namespace lanternfly {

using float2 = glm::vec2;
using float3 = glm::vec3;
using float4 = glm::vec4;
using double2 = glm::dvec2;
using int2 = glm::ivec2;
using float4x4 = glm::mat4;

} // namespace lanternfly
