#pragma once
// ExportCommand: `fenrak export SCENE --module NAME -o FILE` writes one
// module's output after the scene's passes, in the format the file's
// extension names:
//   .nc .grd              a lattice as a CF NetCDF grid (NetcdfGrid)
//   .vti .vtr .vts        a lattice as a VTK XML file (VtkXmlWriter)
//   .csv .txt .xyz        a point set as delimited text (PointFileWriter)
//   .iv                   geometry as a scene-graph file
// The output is checked before anything is computed, written under a
// temporary name beside it and renamed when complete. Exit status 1 for the
// user's mistakes (a module that does not exist, failed or gives another
// kind of data), 3 for failures of the system.
#include <iosfwd>
#include <string>
#include <vector>

namespace host {

struct ExportOptions {
    std::string scene;
    std::string module;
    std::string output;
};

class ExportCommand {
public:
    enum class Format { NetCdf, VtkImage, VtkRectilinear, VtkStructured, Points, Geometry };

    static int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                   bool terminal = false);
    // Raises a user error for a bad command line.
    static ExportOptions ParseArguments(const std::vector<std::string>& args);
    // The format of an output name; raises a user error for an unknown extension.
    static Format FormatOf(const std::string& path);
};

} // namespace host
