// TestBox: a visual module of the host tests. It draws an unlit cube of a
// chosen size and colour, takes an optional lattice input (so scenes can link
// it), stores its settings in documents, and fails on demand: when executed,
// or when stored.
#include "core/data/VdGeometry.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VoModule.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "shr/Archive.h"
#include "shr/Color4b.h"
#include "shr/Exception.h"

#include <Inventor/nodes/SoBaseColor.h>
#include <Inventor/nodes/SoCube.h>
#include <Inventor/nodes/SoLightModel.h>
#include <Inventor/nodes/SoSeparator.h>

namespace hosttest {

class TestBox : public core::VoModule {
    SHR_DECLARE_CREATABLE_TYPE(TestBox)
public:
    enum { IdHeader = 1, IdSize = 2, IdColor = 3, IdFail = 4, IdFailStore = 5 };
    static const core::VbModuleInfo s_ModuleInfo;

    TestBox()
    {
        AddInput("Input Lattice", core::PortUniformLattice | core::PortRectilinearLattice | core::PortCurvilinearLattice);
        AddOutput("Output Geometry", core::PortGeometry)->Data(new core::VdGeometry(this, false));
    }
    const core::VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    void PropertyEvent(core::VbPropList& list, const core::VbPropertyEvent& event) override
    {
        switch (event.Id()) {
        case IdSize:
            list.GetValue(IdSize, m_Size);
            if (!(m_Size > 0.0))
                SHR_THROW(0, "the size must be positive");
            break;
        case IdColor: list.GetValue(IdColor, m_Color); break;
        case IdFail: list.GetValue(IdFail, m_Fail); break;
        case IdFailStore: list.GetValue(IdFailStore, m_FailStore); break;
        default: return;
        }
        SetModified();
    }

    void Serialize(shr::Archive& archive) override
    {
        if (archive.IsStoring() && m_FailStore)
            SHR_THROW(0, "the box refuses to be stored");
        VoModule::Serialize(archive);
        archive.SyncCheck();
        archive.Transfer(m_Size);
        archive.Transfer(m_Color);
        archive.Transfer(m_Fail);
    }

private:
    void UpdatePropertiesImpl(core::VbPropList& list) override
    {
        list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
        list.AddDouble(Id(), "TestBoxSize", IdSize, "Size", "Edge length.", m_Size, core::ValCheckNone, 0, 0, 0);
        list.AddColor(Id(), "TestBoxColor", IdColor, "Color", "Face colour.", m_Color);
        list.AddCheck(Id(), "TestBoxFail", IdFail, "Fail", "Fail when executed.", m_Fail);
        list.AddCheck(Id(), "TestBoxFailStore", IdFailStore, "Fail to store", "Fail when stored.", m_FailStore);
    }

    ModuleStatus ExecuteImpl(std::shared_ptr<core::VgRenderer>) override
    {
        if (m_Fail)
            SHR_THROW(0, "the box refuses to be built");
        auto* root = new SoSeparator;
        auto* light = new SoLightModel;
        light->model = SoLightModel::BASE_COLOR;
        auto* color = new SoBaseColor;
        color->rgb.setValue(m_Color.r / 255.0f, m_Color.g / 255.0f, m_Color.b / 255.0f);
        auto* cube = new SoCube;
        cube->width = cube->height = cube->depth = static_cast<float>(m_Size);
        root->addChild(light);
        root->addChild(color);
        root->addChild(cube);
        OutputGeometry(0).SetGeometry(core::InvSmartPtr<SoNode>(root));
        return ModuleOk;
    }

    double m_Size = 1.0;
    shr::Color4b m_Color = shr::Color4b(255, 0, 0, 255);
    bool m_Fail = false;
    bool m_FailStore = false;
};

SHR_IMPLEMENT_CREATABLE_TYPE(TestBox, core::VoModule)
const core::VbModuleInfo TestBox::s_ModuleInfo("Test Modules\\TestBox", TestBox::GetClassTypeId(),
                                               core::PortUniformLattice, core::PortGeometry, "A coloured cube", -1);

namespace {
const core::VbPropertyRegistrar s_Size("TestBoxSize", TestBox::IdSize, core::VbDoublePropertyConverter::Key());
const core::VbPropertyRegistrar s_Color("TestBoxColor", TestBox::IdColor, core::VbColorPropertyConverter::Key());
const core::VbPropertyRegistrar s_Fail("TestBoxFail", TestBox::IdFail, core::VbBoolPropertyConverter::Key());
const core::VbPropertyRegistrar s_FailStore("TestBoxFailStore", TestBox::IdFailStore,
                                            core::VbBoolPropertyConverter::Key());
} // namespace

} // namespace hosttest
