#include "core/graphics/VgMaterial.h"

#include "shr/Archive.h"

namespace core {

void VgMaterial::Serialize(shr::Archive& archive)
{
    // Loaded into a copy, so that a truncated archive leaves this material as it was.
    VgMaterial copy(*this);
    archive.SyncCheck();
    archive.Transfer(copy.name);
    for (shr::Color4b* color : {&copy.ambient, &copy.diffuse, &copy.specular, &copy.emissive})
        archive.Transfer(*color);
    for (float* value : {&copy.ambientIntensity, &copy.diffuseIntensity, &copy.specularIntensity,
                         &copy.emissiveIntensity, &copy.shininess, &copy.transparency}) {
        archive.Transfer(*value);
        archive.CheckRange(*value, 0.0f, 1.0f, "a material intensity");
    }
    if (archive.IsLoading())
        *this = copy;
}

bool VgMaterial::operator==(const VgMaterial& other) const
{
    return name == other.name && ambient == other.ambient && diffuse == other.diffuse &&
           specular == other.specular && emissive == other.emissive &&
           ambientIntensity == other.ambientIntensity && diffuseIntensity == other.diffuseIntensity &&
           specularIntensity == other.specularIntensity && emissiveIntensity == other.emissiveIntensity &&
           shininess == other.shininess && transparency == other.transparency;
}

} // namespace core
