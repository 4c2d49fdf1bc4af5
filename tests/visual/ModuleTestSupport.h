#pragma once
// For the tests of visual modules in a network: a fixture whose scene is not
// shifted (scene coordinates are the data's), and stored forms as documents
// before version 113 wrote them, for the version gates.
#include "NetworkFixture.h"

#include "core/graphics/SceneTransform.h"
#include "shr/Archive.h"

#include <cstdint>
#include <string>

namespace visualtest {

class UnshiftedSceneFixture : public testsupport::NetworkFixture {
protected:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        network().SetTransformOnlyUseIfYouAreAUnitTest(core::SceneTransform(0, 0, true));
    }

    testsupport::ErrorProxy proxy;
};

// Writes each value as the archive stores its type.
template <class... Values>
void Put(shr::Archive& archive, Values... values)
{
    (archive.Transfer(values), ...);
}

// VoModule's part of such a document for a module without links: no port
// counts, one empty link list per port.
inline void WriteOldModulePart(shr::Archive& archive, const std::string& name, int ports)
{
    archive.SyncCheck();
    Put(archive, int32_t(1), name, true, true);
    for (int p = 0; p < ports; ++p)
        Put(archive, uint32_t(0));
}

} // namespace visualtest
