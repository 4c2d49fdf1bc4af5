#pragma once
// VoWellData: the source module of wells. It holds a VdWellData on its one
// output and works only through its property rows: it lists the wells (their
// tops, which can be edited, and their logs), deletes a well through a context
// menu entry, asks the host to import files into it ("Add Data": the module
// never reads a file itself) and computes the paths of the wells from their
// surveys with the chosen calculator. An execution does nothing.
//
// Rows: the general header 0, the "Add Data" button 2, the well count 1, then
// a block of six ids per well from 7 (node, top, the top's X, Y and Z, log
// count), the rows of the logs after all blocks, and the "Well Paths" group
// 3, 4, 5. A row that concerns a well carries "Well=" and the well's name as
// its user data; a host addresses a well's top with the event id of the first
// well's row (9, 10, 11) and that text as the event's value, and the module
// finds the well's own row from it (an event whose value is not a text stands
// for the row of its own id).
//
// Stored form: the module base, the sync mark, the path method (4 bytes) and
// the well data as an object.
#include "core/network/VoModule.h"
#include "shr/GString.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace shr {
class CommandOptions;
}

namespace core {

class VdWellData;
class Well;

class VoWellData : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoWellData)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum RowId : int {
        IdGeneral = 0,
        IdNumWells = 1,
        IdAddData = 2,
        IdPaths = 3,
        IdPathMethod = 4,
        IdComputePaths = 5,
        IdDeleteWell = 6,
        IdFirstWell = 7,
        IdXTop = 9,
        IdYTop = 10,
        IdZTop = 11,
    };
    static constexpr int RowsPerWell = 6;
    // Rows below this id may carry a well's context menu.
    static constexpr int ContextMenuEnd = 10007;
    // The text of a coordinate or a top that is not set.
    static const char* const NotSet;

    // Takes a reference on `wells`; null leaves the port empty until OutputWells.
    explicit VoWellData(VdWellData* wells = nullptr);
    ~VoWellData() override;

    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // The output's well data, made empty on first use.
    VdWellData& OutputWells();
    // The output's well data, or null.
    const VdWellData* OutputWellData() const;

    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // For a row from 7 on whose payload (the event's value) names a well: one
    // entry "Delete <name>" that asks the host to modify this module.
    std::unique_ptr<ContextMenuOptions> ContextMenu(const VbPropertyEvent& event) const override;
    void Serialize(shr::Archive& archive) override;

    // The index of the path method in PathMethods().
    int PathMethod() const { return m_PathMethod; }
    void PathMethod(int method) { m_PathMethod = method; }
    const std::vector<shr::GString>& PathMethods() const { return m_PathMethods; }

    // The "Import" command that "Add Data" sends to the host.
    shr::CommandOptions ImportCommand() const;
    // Sends ImportCommand to the host, which fills this module's wells.
    void AddData();
    // Computes the path of every well with a top and three survey stations,
    // the wells spread over TBB workers; the others are named in one message
    // to the host. "Invalid path computation algorithm requested." for a
    // method that does not name a calculator.
    void ComputePaths();
    // Whether some well has a top and three survey stations.
    bool TrajectoryAvailable() const;
    // Deletes the well that `text` names ("Well=Name" or the name), giving it
    // back; null when it names none. "Name of well to delete must be
    // non-empty." for an empty text.
    static std::shared_ptr<Well> DeleteWell(const shr::GString& text, VdWellData* wellData);

private:
    void UpdatePropertiesImpl(VbPropList& list) override;

    void AddWellRows(VbPropList& list, const Well& well, int number, int& logId) const;
    // The top's coordinate `axis` of the well that the event's payload names.
    void ChangeTop(VbPropList& list, const VbPropertyEvent& event, int axis);
    void UpdateWellTopAndTrajectory(VbPropList& list, int row, const Well& well) const;
    shr::GString TopText(const Well& well) const;

    shr::GString m_NotSet = NotSet;
    int32_t m_PathMethod = 2;
    std::vector<shr::GString> m_PathMethods;
};

} // namespace core
