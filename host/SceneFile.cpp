#include "host/SceneFile.h"

#include "core/properties/VbColorPropertyConverter.h"
#include "host/HostError.h"

#include <nlohmann/json.hpp>

#include <boost/any.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

namespace host {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kMaxViewSize = 16384;

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Reads one scene: the file name and module name it is reporting for go into
// every message.
class SceneParser {
public:
    explicit SceneParser(SceneDescription& scene) : m_Scene(scene) {}

    void Parse(const std::string& text)
    {
        const Json root = ParseJson(text);
        if (!root.is_object())
            Fail("the scene must be a JSON object with \"modules\"");
        for (const auto& item : root.items()) {
            if (item.key() == "modules")
                ReadModules(item.value());
            else if (item.key() == "view")
                ReadView(item.value());
            else
                Fail("unknown key \"" + item.key() + "\"");
        }
        if (!root.contains("modules"))
            Fail("no \"modules\" list");
    }

private:
    [[noreturn]] void Fail(const std::string& message) const
    {
        HOST_USER_ERROR("%s: %s", m_Scene.fileName.c_str(), message.c_str());
    }

    [[noreturn]] void FailModule(const std::string& module, const std::string& message) const
    {
        Fail("module \"" + module + "\": " + message);
    }

    Json ParseJson(const std::string& text) const
    {
        try {
            return Json::parse(text);
        } catch (const Json::parse_error& error) {
            // "[json.exception.parse_error.101] parse error at line 3, column 5: ..."
            std::string what = error.what();
            const size_t at = what.find(" at line ");
            what = at == std::string::npos ? what : what.substr(at + 4);
            Fail("JSON syntax error at " + what);
        } catch (const Json::exception& error) {
            // "[json.exception.out_of_range.406] number overflow parsing '1e99999'"
            std::string what = error.what();
            const size_t at = what.find("] ");
            Fail("JSON error: " + (at == std::string::npos ? what : what.substr(at + 2)));
        }
    }

    void ReadModules(const Json& modules)
    {
        if (!modules.is_array())
            Fail("\"modules\" must be a list");
        std::set<std::string> names;
        for (size_t i = 0; i < modules.size(); ++i) {
            ModuleSpec spec = ReadModule(modules[i], i);
            if (!names.insert(spec.name).second)
                FailModule(spec.name, "a second module of this name");
            m_Scene.modules.push_back(std::move(spec));
        }
    }

    ModuleSpec ReadModule(const Json& entry, size_t index) const
    {
        const std::string ordinal = "module " + std::to_string(index + 1);
        if (!entry.is_object())
            Fail(ordinal + " must be a JSON object");
        ModuleSpec spec;
        spec.type = String(entry, "type", ordinal);
        if (spec.type.empty())
            Fail(ordinal + ": no \"type\"");
        spec.name = entry.contains("name") ? String(entry, "name", ordinal) : spec.type;
        if (spec.name.empty())
            Fail(ordinal + ": an empty \"name\"");
        for (const auto& item : entry.items()) {
            const std::string& key = item.key();
            if (key == "file")
                spec.file = String(entry, "file", "module \"" + spec.name + "\"");
            else if (key == "files")
                spec.files = Names(item.value(), spec.name, "files", "file names");
            else if (key == "columns")
                ReadColumns(item.value(), spec);
            else if (key == "below_detection")
                ReadBelowDetection(item.value(), spec);
            else if (key == "compute") {
                if (!item.value().is_boolean())
                    FailModule(spec.name, "\"compute\" must be true or false");
                spec.compute = item.value().get<bool>();
            } else if (key == "inputs")
                spec.inputs = Inputs(item.value(), spec.name);
            else if (key == "properties")
                spec.properties = Properties(item.value(), spec.name);
            else if (key == "fileOptions")
                spec.fileOptions = Properties(item.value(), spec.name);
            else if (key != "name" && key != "type")
                FailModule(spec.name, "unknown key \"" + key + "\"");
        }
        return spec;
    }

    // {"x": ..., "y": ..., "z": ..., "values": [...], "label": ...}
    void ReadColumns(const Json& columns, ModuleSpec& spec) const
    {
        if (!columns.is_object())
            FailModule(spec.name, "\"columns\" must be an object: {\"x\": \"Easting\", \"y\": 2, \"z\": null, ...}");
        PointFileOptions& options = spec.pointOptions;
        for (const auto& item : columns.items()) {
            const std::string& key = item.key();
            if (key == "x" || key == "y" || key == "z")
                options.axes[key[0] - 'x'] = Column(item.value(), spec.name, key);
            else if (key == "label")
                options.label = Column(item.value(), spec.name, key);
            else if (key == "values")
                ReadValueColumns(item.value(), spec);
            else
                FailModule(spec.name, "columns: unknown key \"" + key + "\" (x, y, z, values, label)");
        }
        spec.pointOptionsGiven = true;
    }

    void ReadValueColumns(const Json& values, ModuleSpec& spec) const
    {
        if (!values.is_array())
            FailModule(spec.name, "columns: \"values\" must be a list of column names or numbers");
        spec.pointOptions.valuesGiven = true;
        for (const Json& value : values) {
            if (value.is_null())
                FailModule(spec.name, "columns: \"values\" must be a list of column names or numbers");
            spec.pointOptions.values.push_back(Column(value, spec.name, "values"));
        }
    }

    ColumnChoice Column(const Json& value, const std::string& module, const std::string& key) const
    {
        ColumnChoice choice;
        if (value.is_null()) {
            choice.kind = ColumnChoice::None;
        } else if (value.is_string() && !value.get<std::string>().empty()) {
            choice.kind = ColumnChoice::Named;
            choice.name = value.get<std::string>();
        } else if (value.is_number_unsigned() && value.get<uint64_t>() >= 1 && value.get<uint64_t>() <= 100000) {
            choice.kind = ColumnChoice::Numbered;
            choice.number = value.get<size_t>();
        } else {
            FailModule(module, "columns: \"" + key + "\" must name a column or give its number from 1 (or null)");
        }
        return choice;
    }

    void ReadBelowDetection(const Json& rule, ModuleSpec& spec) const
    {
        using Rule = PointFileOptions::BelowDetection;
        const std::string text = rule.is_string() ? rule.get<std::string>() : std::string();
        if (text == "blank")
            spec.pointOptions.belowDetection = Rule::Blank;
        else if (text == "half")
            spec.pointOptions.belowDetection = Rule::Half;
        else if (text == "limit")
            spec.pointOptions.belowDetection = Rule::Limit;
        else
            FailModule(spec.name, "\"below_detection\" must be \"blank\", \"half\" or \"limit\"");
        spec.pointOptionsGiven = true;
    }

    std::string String(const Json& object, const char* key, const std::string& where) const
    {
        if (!object.contains(key))
            return std::string();
        const Json& value = object.at(key);
        if (!value.is_string())
            Fail(where + ": \"" + key + "\" must be a string");
        return value.get<std::string>();
    }

    // A list of names, or one name.
    std::vector<std::string> Names(const Json& names, const std::string& module, const char* key,
                                   const char* what) const
    {
        if (names.is_string())
            return {names.get<std::string>()};
        const auto isName = [](const Json& name) { return name.is_string() && !name.get<std::string>().empty(); };
        if (!names.is_array() || names.empty() || !std::all_of(names.begin(), names.end(), isName))
            FailModule(module, "\"" + std::string(key) + "\" must be a list of " + what);
        std::vector<std::string> result;
        for (const Json& name : names)
            result.push_back(name.get<std::string>());
        return result;
    }

    std::vector<std::string> Inputs(const Json& inputs, const std::string& module) const
    {
        if (inputs.is_string())
            return {inputs.get<std::string>()};
        if (!inputs.is_array())
            FailModule(module, "\"inputs\" must be a list of module names");
        std::vector<std::string> names;
        for (const Json& input : inputs) {
            if (!input.is_string() && !input.is_null())
                FailModule(module, "\"inputs\" must be a list of module names");
            names.push_back(input.is_null() ? std::string() : input.get<std::string>());
        }
        return names;
    }

    std::vector<std::pair<std::string, std::string>> Properties(const Json& properties,
                                                                const std::string& module) const
    {
        if (!properties.is_object())
            FailModule(module, "\"properties\" must be an object of keys and values");
        std::vector<std::pair<std::string, std::string>> result;
        for (const auto& item : properties.items()) {
            const Json& value = item.value();
            std::string text;
            if (value.is_string())
                text = value.get<std::string>();
            else if (value.is_boolean())
                text = value.get<bool>() ? "true" : "false";
            else if (value.is_number())
                text = value.dump();
            else
                FailModule(module, "property key \"" + item.key() + "\": the value must be a string");
            result.emplace_back(item.key(), text);
        }
        return result;
    }

    void ReadView(const Json& view)
    {
        if (!view.is_object())
            Fail("\"view\" must be an object");
        SceneView& result = m_Scene.view;
        for (const auto& item : view.items()) {
            const std::string& key = item.key();
            if (key == "size")
                ReadSize(item.value());
            else if (key == "azimuth")
                result.azimuth = Number(item.value(), key);
            else if (key == "elevation")
                result.elevation = Number(item.value(), key);
            else if (key == "zoom")
                result.zoom = Number(item.value(), key);
            else if (key == "background")
                ReadBackground(item.value());
            else
                Fail("view: unknown key \"" + key + "\"");
        }
        SceneFile::CheckView(result, m_Scene.fileName + ": view");
    }

    double Number(const Json& value, const std::string& key) const
    {
        if (!value.is_number())
            Fail("view: \"" + key + "\" must be a number");
        return value.get<double>();
    }

    void ReadSize(const Json& size)
    {
        if (size.is_string()) {
            SceneFile::ParseSize(size.get<std::string>(), m_Scene.view.width, m_Scene.view.height);
            return;
        }
        if (!size.is_array() || size.size() != 2 || !size[0].is_number_integer() || !size[1].is_number_integer())
            Fail("view: \"size\" must be [width, height]");
        // Held in int range before narrowing; CheckView then applies the limits.
        const auto side = [](const Json& value) {
            const int64_t n = value.is_number_unsigned() ? int64_t(std::min<uint64_t>(value.get<uint64_t>(), INT_MAX))
                                                         : value.get<int64_t>();
            return int(std::clamp<int64_t>(n, INT_MIN, INT_MAX));
        };
        m_Scene.view.width = side(size[0]);
        m_Scene.view.height = side(size[1]);
    }

    // [r, g, b] or [r, g, b, a] from 0 to 255, or the text of a colour property.
    void ReadBackground(const Json& color)
    {
        SceneView& view = m_Scene.view;
        if (color.is_array() && (color.size() == 3 || color.size() == 4)) {
            int parts[4] = {0, 0, 0, 255};
            for (size_t i = 0; i < color.size(); ++i) {
                // Compared as doubles: a huge whole number must not wrap into range.
                if (!color[i].is_number_integer() || color[i].get<double>() < 0 || color[i].get<double>() > 255)
                    Fail("view: \"background\" parts must be whole numbers from 0 to 255");
                parts[i] = color[i].get<int>();
            }
            view.background = shr::Color4b(static_cast<unsigned char>(parts[0]), static_cast<unsigned char>(parts[1]),
                                           static_cast<unsigned char>(parts[2]), static_cast<unsigned char>(parts[3]));
        } else {
            boost::any value;
            if (!color.is_string() || !core::VbColorPropertyConverter().FromString(color.get<std::string>(), value))
                Fail("view: bad \"background\" " + color.dump() + ": give [r, g, b] or a colour name");
            view.background = boost::any_cast<shr::Color4b>(value);
        }
        view.hasBackground = true;
    }

    SceneDescription& m_Scene;
};

} // namespace

SceneDescription SceneFile::Read(const shr::GString& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        HOST_USER_ERROR("%s: cannot open the scene: %s", path.c_str(), std::strerror(errno));
    std::ostringstream text;
    text << file.rdbuf();
    return Parse(text.str(), path, FolderOf(path));
}

SceneDescription SceneFile::Parse(const std::string& text, const std::string& name, const std::string& folder)
{
    SceneDescription scene;
    scene.fileName = name;
    scene.folder = folder;
    SceneParser(scene).Parse(text);
    return scene;
}

void SceneFile::ParseSize(const std::string& text, int& width, int& height)
{
    int w = 0;
    int h = 0;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%dx%d%c", &w, &h, &extra) != 2 || w < 1 || h < 1 || w > kMaxViewSize ||
        h > kMaxViewSize)
        HOST_USER_ERROR("bad size \"%s\": give WIDTHxHEIGHT, each from 1 to %d", text.c_str(), kMaxViewSize);
    width = w;
    height = h;
}

void SceneFile::CheckView(const SceneView& view, const std::string& where)
{
    if (view.width < 1 || view.height < 1 || view.width > kMaxViewSize || view.height > kMaxViewSize)
        HOST_USER_ERROR("%s: size %dx%d: each side must be from 1 to %d", where.c_str(), view.width, view.height,
                        kMaxViewSize);
    if (!std::isfinite(view.azimuth))
        HOST_USER_ERROR("%s: the azimuth must be a finite number", where.c_str());
    if (!(view.elevation >= -90.0 && view.elevation <= 90.0))
        HOST_USER_ERROR("%s: the elevation must be from -90 to 90 degrees", where.c_str());
    if (!(view.zoom > 0.0) || !std::isfinite(view.zoom))
        HOST_USER_ERROR("%s: the zoom must be a positive number", where.c_str());
}

} // namespace host
