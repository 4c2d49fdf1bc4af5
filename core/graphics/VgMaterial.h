#pragma once
// VgMaterial: a plain material record. The renderer scales each colour by its
// intensity when it makes the scene's material node.
#include "shr/Color4b.h"
#include "shr/GString.h"

namespace shr {
class Archive;
}

namespace core {

class VgMaterial {
public:
    VgMaterial() = default;

    // No version of its own: sync check, name, the four colours, the six
    // floats in declaration order.
    void Serialize(shr::Archive& archive);

    bool operator==(const VgMaterial& other) const;
    bool operator!=(const VgMaterial& other) const { return !(*this == other); }

    shr::GString name;
    shr::Color4b ambient = shr::Color4b::White;
    shr::Color4b diffuse = shr::Color4b::White;
    shr::Color4b specular = shr::Color4b::White;
    shr::Color4b emissive = shr::Color4b::White;
    float ambientIntensity = 0.2f;
    float diffuseIntensity = 0.7f;
    float specularIntensity = 0.1f;
    float emissiveIntensity = 0.0f;
    float shininess = 0.2f;
    float transparency = 0.0f;
};

} // namespace core
