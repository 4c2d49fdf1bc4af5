#include "python/src/PropertyAccess.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VoModule.h"
#include "core/network/VoNetwork.h"
#include "core/properties/VbRect.h"
#include "host/HostError.h"
#include "python/src/Errors.h"
#include "python/src/PythonUiProxy.h"
#include "python/src/Session.h"
#include "shr/Color4b.h"
#include "shr/StringUtil.h"
#include "shr/Vec3.h"

#include <boost/any.hpp>
#include <pybind11/stl.h>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <strings.h>

namespace py = pybind11;

namespace pyfenrak {

namespace {

bool IsBool(py::handle value)
{
    return PyBool_Check(value.ptr()) || std::strcmp(Py_TYPE(value.ptr())->tp_name, "numpy.bool_") == 0;
}

bool IsSequence(py::handle value)
{
    return !py::isinstance<py::str>(value) && !py::isinstance<py::bytes>(value) &&
           PySequence_Check(value.ptr()) != 0;
}

// A number's text: integers exactly, floats with every digit they have.
bool NumberText(py::handle value, std::string& text)
{
    if (IsBool(value)) {
        text = value.cast<bool>() ? "1" : "0";
        return true;
    }
    if (PyIndex_Check(value.ptr())) {
        text = py::str(py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr())));
        return true;
    }
    PyObject* real = PyNumber_Float(value.ptr());
    if (!real) {
        PyErr_Clear();
        return false;
    }
    text = shr::ToString("%.17g", PyFloat_AS_DOUBLE(real));
    Py_DECREF(real);
    return true;
}

[[noreturn]] std::string NotAValue(py::handle value, const host::HostPropertyList::RowInfo& row)
{
    ThrowTypeError("property key \"" + row.key + "\" takes a number, a bool, a string or a sequence of numbers, not " +
                   std::string(Py_TYPE(value.ptr())->tp_name));
}

// The value of a row in its own type; None for a type with no Python form.
py::object FromAny(const boost::any& value)
{
    if (const auto* v = boost::any_cast<bool>(&value))
        return py::bool_(*v);
    if (const auto* v = boost::any_cast<int>(&value))
        return py::int_(*v);
    if (const auto* v = boost::any_cast<unsigned int>(&value))
        return py::int_(*v);
    if (const auto* v = boost::any_cast<int64_t>(&value))
        return py::int_(*v);
    if (const auto* v = boost::any_cast<unsigned long>(&value))
        return py::int_(*v);
    if (const auto* v = boost::any_cast<double>(&value))
        return py::float_(*v);
    if (const auto* v = boost::any_cast<float>(&value))
        return py::float_(*v);
    if (const auto* v = boost::any_cast<shr::GString>(&value))
        return py::str(*v);
    if (const auto* v = boost::any_cast<shr::Color4b>(&value))
        return py::make_tuple(int(v->r), int(v->g), int(v->b), int(v->a));
    if (const auto* v = boost::any_cast<shr::Vec3d>(&value))
        return py::make_tuple(v->x, v->y, v->z);
    if (const auto* v = boost::any_cast<shr::Vec3f>(&value))
        return py::make_tuple(double(v->x), double(v->y), double(v->z));
    if (const auto* v = boost::any_cast<core::VbRect>(&value))
        return py::make_tuple(v->left, v->top, v->right, v->bottom);
    return py::none();
}

// `count` numbers that make up the whole text: one as a number, more as a
// tuple; the text itself otherwise.
template <typename Number>
py::object NumbersFromText(const std::string& text, size_t count)
{
    std::istringstream in(text);
    std::vector<Number> numbers;
    for (Number number; in >> number;)
        numbers.push_back(number);
    if (!in.eof() || numbers.size() != count)
        return py::str(text);
    return count == 1 ? py::cast(numbers.front()) : py::object(py::tuple(py::cast(numbers)));
}

} // namespace

PropertyAccess::PropertyAccess(Session& session, core::VoModule& module)
    : m_Session(session), m_Module(module), m_Editor(module)
{
}

std::string PropertyAccess::Text(py::handle value, const host::HostPropertyList::RowInfo& row)
{
    if (py::isinstance<py::str>(value)) {
        const std::string text = value.cast<std::string>();
        for (size_t i = 0; row.kind == "combo" && i < row.choices.size(); ++i) {
            if (strcasecmp(row.choices[i].c_str(), text.c_str()) == 0)
                return std::to_string(i);
        }
        return text;
    }
    if (IsBool(value))
        return value.cast<bool>() ? "true" : "false";
    std::string text;
    if (!IsSequence(value))
        return NumberText(value, text) ? text : NotAValue(value, row);
    for (py::handle item : py::reinterpret_borrow<py::sequence>(value)) {
        std::string number;
        if (IsSequence(item) || !NumberText(item, number))
            NotAValue(value, row);
        text += (text.empty() ? "" : " ") + number;
    }
    // A colour of three parts is opaque.
    if (row.kind == "color" && py::len(value) == 3)
        text += " 255";
    return text;
}

py::object PropertyAccess::FromText(const std::string& kind, const std::string& text)
{
    if (kind == "check" || kind == "button")
        return py::bool_(text == "true");
    if (kind == "integer" || kind == "unsigned" || kind == "combo")
        return NumbersFromText<long long>(text, 1);
    if (kind == "double")
        return NumbersFromText<double>(text, 1);
    if (kind == "color")
        return NumbersFromText<int>(text, 4);
    return py::str(text);
}

int PropertyAccess::Row(const std::string& key) const
{
    const int id = m_Editor.RowOf(key);
    if (id >= 0)
        return id;
    const host::CatalogueRow* row = host::PropertyCatalogue::Find(m_Editor.Catalogue(), key);
    if (!row)
        HOST_USER_ERROR("unknown property key \"%s\"", key.c_str());
    if (row->source == host::CatalogueRow::kModuleKey)
        HOST_USER_ERROR("property key \"%s\" has no row of its own: it can be set, not read", key.c_str());
    const std::string when = row->condition.empty() ? std::string() : "; it applies " + row->condition;
    HOST_USER_ERROR("property key \"%s\" has no effect with the other settings%s", key.c_str(), when.c_str());
}

std::vector<host::CatalogueRow> PropertyAccess::Catalogue(const std::string& type)
{
    core::VoNetwork::Instance().Init(); // modules make scene-graph nodes
    return host::PropertyCatalogue::Explore(type);
}

py::object PropertyAccess::Value(int id) const
{
    py::object value = FromAny(m_Editor.List().AnyValue(id));
    return value.is_none() ? py::str(m_Editor.ValueText(id)) : value;
}

py::object PropertyAccess::Get(const std::string& key) const
{
    return Value(Row(key));
}

void PropertyAccess::Set(const std::string& key, py::handle value)
{
    if (m_Editor.RowOf(key) < 0 && m_Editor.HasKey(key)) { // the module takes it without a row
        const std::string text = Text(value, host::HostPropertyList::RowInfo{key, "", "", {}});
        m_Editor.Set(key, text);
        m_Session.NoteSetValue(m_Module.Id(), key, text, std::string());
        return;
    }
    // A copy: the rows are listed again after the change.
    const host::HostPropertyList::RowInfo row = *m_Editor.List().Info(Row(key));
    const std::string text = Text(value, row);
    const size_t loadErrors = m_Session.Proxy().Report(m_Module.Id()).loadErrors.size();
    m_Editor.Set(row.key, text);
    // A source whose file name was set reads the file again; a file it could
    // not read is the caller's mistake.
    const host::HostUiProxy::ModuleReport report = m_Session.Proxy().Report(m_Module.Id());
    if (report.loadErrors.size() > loadErrors)
        ThrowValueError(report.loadErrors.back());
    // A button is an action: pressing it again after the pass would redo the work.
    if (row.kind != "button")
        m_Session.NoteSetValue(m_Module.Id(), row.key, text, m_Editor.ValueText(Row(row.key)));
}

void PropertyAccess::SetAll(const std::vector<std::pair<std::string, py::object>>& values)
{
    auto pending = values;
    while (!pending.empty()) {
        decltype(pending) deferred;
        for (const auto& value : pending) {
            if (m_Editor.HasKey(value.first))
                Set(value.first, value.second);
            else
                deferred.push_back(value);
        }
        if (deferred.size() == pending.size())
            Row(deferred.front().first); // raises the unknown key
        pending.swap(deferred);
    }
}

py::dict PropertyAccess::Values() const
{
    py::dict values;
    for (const auto& row : m_Editor.List().Rows()) {
        if (!row.second.key.empty() && m_Editor.List().IsProp(row.first))
            values[py::str(row.second.key)] = Value(row.first);
    }
    return values;
}

py::list PropertyAccess::Describe() const
{
    py::list rows;
    std::string group;
    for (const auto& row : m_Editor.List().Rows()) {
        const host::HostPropertyList::RowInfo& info = row.second;
        if (info.kind == "header")
            group = info.label;
        if (info.key.empty() || !m_Editor.List().IsProp(row.first))
            continue;
        py::dict entry;
        entry["key"] = info.key;
        entry["kind"] = info.kind;
        entry["value"] = Value(row.first);
        entry["label"] = info.label;
        entry["group"] = group;
        entry["choices"] = py::cast(info.choices);
        rows.append(entry);
    }
    return rows;
}

} // namespace pyfenrak
