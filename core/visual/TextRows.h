#pragma once
// TextRows: what the two text modules share: the text (row 2) and its format
// (justification 7, size 8, colour 9, face 10), with their public keys, and
// the part of the stored form that holds them.
#include "core/properties/TextFormat.h"
#include "shr/GString.h"

namespace shr {
class Archive;
}

namespace core {

class VbModuleId;
class VbPropList;

class TextRows {
public:
    TextRows() = delete;

    enum RowId : int { IdText = 2, IdJustification = 7, IdSize = 8, IdColor = 9, IdFont = 10 };
    // The sizes the size row takes, in points.
    static constexpr double kMinSize = 4.0;
    static constexpr double kMaxSize = 72.0;

    // 14 points, black, "Arial", centred.
    static TextFormat DefaultFormat();

    // Registers prefix + "Text", "Justification", "Size", "Color", "Font":
    //   static const core::TextRows::KeyRegistrar s_Keys("Annotation");
    struct KeyRegistrar {
        explicit KeyRegistrar(const char* prefix);
    };

    static void AddTextRow(const VbModuleId& module, const char* prefix, VbPropList& list, const shr::GString& text);
    static void AddFormatRows(const VbModuleId& module, const char* prefix, VbPropList& list,
                              const TextFormat& format);
    // Takes the value of one of the rows above; false for any other row.
    static bool PropertyEvent(VbPropList& list, int id, shr::GString& text, TextFormat& format);

    // Justification (4 bytes), text, face, colour: the colour is opaque after
    // loading, and documents before version 122 had right and centre the
    // other way round.
    static void Transfer(shr::Archive& archive, TextFormat& format, shr::GString& text);
    // A justification or size that no row can set is a damaged document.
    static void CheckLoaded(const shr::Archive& archive, const TextFormat& format);
};

} // namespace core
