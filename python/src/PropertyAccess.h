#pragma once
// PropertyAccess: a module's properties by public key with Python values. It
// goes through the host's property editor, so that a value takes the same
// road as in a scene file (the key's converter, the module's checks, the
// same messages), and reads values back from the rows in their own types.
//
// Python to text: booleans as true/false; integers; floats with all their
// digits; sequences of numbers (colours, points) blank-separated; strings as
// they are, except that a combo row also takes the label of a choice. Back
// from a row: check and button rows give booleans, numbers give int or float,
// colours (r, g, b, a) and points (x, y, z) tuples, everything else its text.
#include "host/HostPropertyList.h"
#include "host/PropertyCatalogue.h"
#include "host/PropertyEditor.h"

#include <pybind11/pybind11.h>

#include <string>
#include <utility>
#include <vector>

namespace core {
class VoModule;
}

namespace pyfenrak {

class Session;

class PropertyAccess {
public:
    PropertyAccess(Session& session, core::VoModule& module);

    // A ValueError for a key the module does not show: "unknown property key
    // "K"", or, for a key it shows under other settings, which.
    pybind11::object Get(const std::string& key) const;
    // A ValueError with the library's message for an unknown key or a value the
    // row refuses (the module keeps its value); a TypeError for a Python value
    // that has no text form.
    void Set(const std::string& key, pybind11::handle value);
    // In the order given; a key the module shows only once another is set (a
    // second expression after the component count) is tried after the rest.
    void SetAll(const std::vector<std::pair<std::string, pybind11::object>>& values);
    // Every keyed row: key to value.
    pybind11::dict Values() const;
    // Every keyed row as a dict: key, kind, value, label, group (the header
    // above it) and, for combos, the choices.
    pybind11::list Describe() const;

    // The text a row takes for a Python value.
    static std::string Text(pybind11::handle value, const host::HostPropertyList::RowInfo& row);
    // Every row a module type can show, as `fenrak properties` lists them; the
    // network's own modules are left as they were.
    static std::vector<host::CatalogueRow> Catalogue(const std::string& type);
    // A row's text back in the row's type, as reading the row gives it; the
    // text itself where it does not parse.
    static pybind11::object FromText(const std::string& kind, const std::string& text);

private:
    int Row(const std::string& key) const;
    pybind11::object Value(int id) const;

    Session& m_Session;
    core::VoModule& m_Module;
    host::PropertyEditor m_Editor;
};

} // namespace pyfenrak
