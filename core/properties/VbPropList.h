#pragma once
// VbPropList: the abstract list through which a module shows its property rows
// (VoModule::UpdatePropertiesImpl) and reads a changed value back
// (VoModule::PropertyEvent). The host's widget list and the plain
// SimplePropertyCollection implement it; module code never knows which one it
// talks to. That is why an add call passes everything a widget could want
// (stable key, label, help text, limits) though a plain store keeps only ids,
// values and flags.
//
// Modules call the public non-virtual forwarders (AddCheck, AddDouble, ...),
// which pass on to the protected ...Impl slots.
#include "shr/GString.h"
#include "shr/NonComparable.h"

#include <boost/any.hpp>
#include <boost/noncopyable.hpp>

#include <cstddef>
#include <list>
#include <utility>
#include <vector>

namespace shr {
struct Color4b;
}

namespace core {

class VbColorMap;
class VbModuleId;

// How a numeric row is limited. The host's list gives the forms other than
// "no limit" and "both bounds" their exact meaning; the library only passes
// the number on.
enum ValCheck {
    ValCheckNone = 1,
    ValCheckForm2 = 2,
    ValCheckForm3 = 3,
    ValCheckMinMax = 4,
    ValCheckForm6 = 6,
    ValCheckForm7 = 7,
};

class VbPropList : private boost::noncopyable, private shr::NonComparable {
public:
    // The file filter of a file-name row.
    enum FilterTypes { LatticeFiles = 1, PointFiles = 2, GeometryFiles = 4 };

    virtual ~VbPropList();

    // Replaces this list's rows by copies of the source's values and flags.
    virtual void CopyFrom(const VbPropList& source) = 0;

    virtual shr::GString Group(int id) const = 0;
    virtual void Group(int id, const shr::GString& group) = 0;
    // Sets a row's value; an absent id makes a new row only with `create`.
    virtual void AnyValue(int id, const boost::any& value, bool create) = 0;
    virtual boost::any AnyValue(int id) const = 0;
    // False, value unchanged, if the text does not parse.
    virtual bool StringValue(int id, const shr::GString& text) = 0;
    virtual shr::GString StringValue(int id) const = 0;
    virtual void UserData(int id, const boost::any& data) = 0;
    virtual boost::any UserData(int id) const = 0;
    // Replaces `values` by one (id, value) pair per row, in id order.
    virtual void EnumerateValues(std::list<std::pair<int, boost::any>>& values) const = 0;
    // The one query by id that never raises.
    virtual bool IsProp(int id) const = 0;
    // Where the host's list puts the next rows: after `id` (or `otherId`, -1
    // for none), `flag` says how; (-1, -1, 0) resets to the end.
    virtual void SetInsertionPos(int id, int otherId, int flag) = 0;
    // Bracket the rows under a header.
    virtual void Indent() = 0;
    virtual void Outdent() = 0;
    virtual void Remove(int id) = 0;
    virtual void RemoveAll() = 0;
    // Which sub-field of a composite row is current.
    virtual void CurrentField(int id, int field) = 0;
    virtual int CurrentField(int id) const = 0;

    virtual void GetValue(int id, shr::Color4b& value) const = 0;
    virtual void GetValue(int id, VbColorMap& value) const = 0;
    virtual void GetValue(int id, shr::GString& value) const = 0;
    virtual void GetValue(int id, unsigned int& value) const = 0;
    virtual void GetValue(int id, double& value) const = 0;
    virtual void GetValue(int id, float& value) const = 0;
    virtual void GetValue(int id, int& value) const = 0;
    virtual void GetValue(int id, bool& value) const = 0;

    virtual bool Visible(int id) const = 0;
    virtual void Visible(int id, bool visible) = 0;
    virtual bool Enabled(int id) const = 0;
    virtual void Enabled(int id, bool enabled) = 0;
    // A header together with the rows it contains.
    virtual void EnabledRecursive(int id, bool enabled, bool includeHeader) = 0;
    virtual bool ReadOnly(int id) const = 0;
    virtual void ReadOnly(int id, bool readOnly) = 0;
    // Opens or closes a header row.
    virtual void Expand(int id, bool expand) = 0;

    // A row of text the user cannot edit.
    virtual void AddStatic(const VbModuleId& module, int id, const char* label, const char* help,
                           const char* text) = 0;
    virtual void SetStatic(int id, const char* text) = 0;
    virtual void SetCheck(int id, bool value) = 0;
    virtual void SetCombo(int id, unsigned int value) = 0;
    virtual void SetStringCombo(int id, const shr::GString& value) = 0;
    virtual void SetNum(int id, double value) = 0;
    virtual void SetNum(int id, unsigned int value) = 0;
    virtual void SetNum(int id, int value) = 0;
    virtual void SetNumFormat(int id, const char* format) = 0;
    virtual void SetNumLimits(int id, ValCheck check, double min, double max) = 0;
    virtual void SetNumSpinLimits(int id, double min, double max) = 0;
    // Replaces the data histogram shown with a colour-map row.
    virtual void SetHistogram(int id, const std::vector<unsigned int>& histogram) = 0;

    // The forwarders that modules call.
    void SetHeaderComment(int id, const shr::GString& text) { SetHeaderCommentImpl(id, text); }
    void AddCheck(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                  bool value, const char* dependants = nullptr)
    {
        AddCheckImpl(module, key, id, label, help, value, dependants);
    }
    void AddCombo(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                  unsigned int value, size_t count, const char** list, unsigned int flags)
    {
        AddComboImpl(module, key, id, label, help, value, count, list, flags);
    }
    void AddCombo(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                  unsigned int value, const std::vector<shr::GString>& list, unsigned int flags)
    {
        AddComboImpl(module, key, id, label, help, value, list, flags);
    }
    // The items as further const char* arguments, ended by a null one; flags 0.
    void AddCombo(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                  unsigned int value, const char* first, ...) __attribute__((sentinel));
    void AddStringCombo(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                        const char* help, const shr::GString& value, const std::vector<shr::GString>& list,
                        unsigned int flags)
    {
        AddStringComboImpl(module, key, id, label, help, value, list, flags);
    }
    void AddEdit(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                 const shr::GString& value, bool flag = false)
    {
        AddEditImpl(module, key, id, label, help, value, flag);
    }
    void AddButton(const shr::GString& key, int id, const char* label) { AddButtonImpl(key, id, label); }
    void AddButton(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                   const char* text)
    {
        AddButtonImpl(module, key, id, label, help, text);
    }
    void AddHeader(const VbModuleId& module, int id, const shr::GString& text, const shr::GString& group,
                   const shr::GString& comment, const shr::GString& help)
    {
        AddHeaderImpl(module, id, text, group, comment, help);
    }
    void AddInt(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                int value, ValCheck check, int min, int max, int step, const char* format = nullptr,
                bool flag = false)
    {
        AddIntImpl(module, key, id, label, help, value, check, min, max, step, format, flag);
    }
    void AddUnsigned(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, unsigned int value, ValCheck check, unsigned int min, unsigned int max,
                     unsigned int step, const char* format = nullptr, bool flag = false)
    {
        AddUnsignedImpl(module, key, id, label, help, value, check, min, max, step, format, flag);
    }
    void AddDouble(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                   double value, ValCheck check, double min, double max, double step,
                   const char* format = nullptr, bool flag = false)
    {
        AddDoubleImpl(module, key, id, label, help, value, check, min, max, step, format, flag);
    }
    void AddFilename(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& path, bool flag, FilterTypes filter)
    {
        AddFilenameImpl(module, key, id, label, help, path, flag, filter);
    }
    void AddFilename(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& path, bool flag, const char* filter)
    {
        AddFilenameImpl(module, key, id, label, help, path, flag, filter);
    }
    void AddColor(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                  const shr::Color4b& value)
    {
        AddColorImpl(module, key, id, label, help, value);
    }
    void AddColorMap(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const VbColorMap& map, const std::vector<unsigned int>* histogram,
                     bool flag)
    {
        AddColorMapImpl(module, key, id, label, help, map, histogram, flag);
    }
    void AddFont(const VbModuleId& module, const shr::GString& key, int id, const char* label, const char* help,
                 const shr::GString& font)
    {
        AddFontImpl(module, key, id, label, help, font);
    }

    // printf-style forms of SetHeaderComment, AddStatic and SetStatic.
    void SetHeaderCommentFmt(int id, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void AddStaticFmt(const VbModuleId& module, int id, const char* label, const char* help, const char* format,
                      ...) __attribute__((format(printf, 6, 7)));
    void SetStaticFmt(int id, const char* format, ...) __attribute__((format(printf, 3, 4)));

protected:
    VbPropList() = default;

    virtual void SetHeaderCommentImpl(int id, const shr::GString& text) = 0;
    virtual void AddCheckImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                              const char* help, bool value, const char* dependants) = 0;
    virtual void AddComboImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                              const char* help, unsigned int value, const std::vector<shr::GString>& list,
                              unsigned int flags) = 0;
    virtual void AddComboImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                              const char* help, unsigned int value, size_t count, const char** list,
                              unsigned int flags) = 0;
    virtual void AddStringComboImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                                    const char* help, const shr::GString& value,
                                    const std::vector<shr::GString>& list, unsigned int flags) = 0;
    virtual void AddEditImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                             const char* help, const shr::GString& value, bool flag) = 0;
    virtual void AddButtonImpl(const shr::GString& key, int id, const char* label) = 0;
    virtual void AddButtonImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                               const char* help, const char* text) = 0;
    virtual void AddHeaderImpl(const VbModuleId& module, int id, const shr::GString& text,
                               const shr::GString& group, const shr::GString& comment,
                               const shr::GString& help) = 0;
    virtual void AddIntImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                            const char* help, int value, ValCheck check, int min, int max, int step,
                            const char* format, bool flag) = 0;
    virtual void AddUnsignedImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                                 const char* help, unsigned int value, ValCheck check, unsigned int min,
                                 unsigned int max, unsigned int step, const char* format, bool flag) = 0;
    virtual void AddDoubleImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                               const char* help, double value, ValCheck check, double min, double max,
                               double step, const char* format, bool flag) = 0;
    virtual void AddFilenameImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                                 const char* help, const shr::GString& path, bool flag, FilterTypes filter) = 0;
    virtual void AddFilenameImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                                 const char* help, const shr::GString& path, bool flag, const char* filter) = 0;
    virtual void AddColorImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                              const char* help, const shr::Color4b& value) = 0;
    virtual void AddColorMapImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                                 const char* help, const VbColorMap& map,
                                 const std::vector<unsigned int>* histogram, bool flag) = 0;
    virtual void AddFontImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                             const char* help, const shr::GString& font) = 0;
};

} // namespace core
