// velquino circles INPUT -o OUT.json|OUT.svg: the transform's circles, for tools and vector editors.
#include <fstream>
#include <memory>
#include <sstream>

#include <nlohmann/json.hpp>

#include "app/segments_export.h"
#include "app/transform_driver.h"
#include "cli/cli_host.h"
#include "cli/commands.h"
#include "cli/options.h"
#include "cli/pipeline.h"
#include "image/file_types.h"
#include "image/replace_file.h"

namespace velq::cli {

namespace {

nlohmann::json colour_json(const ColourRecord& c) {
    return nlohmann::json::array({int(c.c0), int(c.c1), int(c.c2), int(c.c3)});
}

std::string circles_json(const Document& doc) {
    const int w = doc.working.width(), h = doc.working.height();
    nlohmann::json out;
    out["width"] = w;
    out["height"] = h;
    if (doc.settings.transform_mode == int(TransformMode::Vectorize)) {
        out["circles"] = segment_circles_json(doc.segments, w, h);
        out["segments"] = segments_json(doc.segments);
    } else {
        nlohmann::json list = nlohmann::json::array();
        for (const Circle& c : doc.circles)
            list.push_back({{"x", c.x * w}, {"y", c.y * h}, {"r", c.radius}, {"color", colour_json(c.own)}});
        out["circles"] = std::move(list);
    }
    return out.dump(1) + "\n";
}

std::string circles_svg(const Document& doc) {
    const int w = doc.working.width(), h = doc.working.height();
    std::ostringstream svg;
    if (doc.settings.transform_mode == int(TransformMode::Vectorize)) {
        write_segments_svg(svg, doc.segments, w, h);
        return svg.str();
    }
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << w << "\" height=\"" << h
        << "\" viewBox=\"0 0 " << w << ' ' << h
        << "\">\n<rect width=\"100%\" height=\"100%\" fill=\"black\"/>\n";
    for (const Circle& c : doc.circles) {
        svg << "<circle cx=\"" << c.x * w << "\" cy=\"" << c.y * h << "\" r=\"" << c.radius
            << "\" fill=\"rgb(" << int(c.own.c0) << ',' << int(c.own.c1) << ',' << int(c.own.c2) << ")\"/>\n";
    }
    svg << "</svg>\n";
    return svg.str();
}

}  // namespace

void add_circles_command(CLI::App& app, int& exit_code) {
    struct Args {
        std::string input, output;
        PictureOptions picture;
        TransformOptions transform;
    };
    auto args = std::make_shared<Args>();
    CLI::App* cmd = app.add_subcommand("circles", "write the transform's circles as JSON or SVG");
    cmd->add_option("INPUT", args->input, "picture to open")->required();
    cmd->add_option("-o,--output", args->output, "file to write (.json or .svg)")->required();
    add_picture_options(*cmd, args->picture);
    add_transform_options(*cmd, args->transform);
    cmd->callback([args, &exit_code] {
        const std::string ext = file_extension(args->output);
        usage_check(ext == "json" || ext == "svg" ? "" : "the output must end in .json or .svg");
        CliHost host(args->picture.quiet);
        Document doc(host);
        exit_code = open_and_transform(doc, host, args->input, args->picture, args->transform);
        if (exit_code != 0) return;
        const std::string text = ext == "json" ? circles_json(doc) : circles_svg(doc);
        if (!replace_file(args->output,
                          std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()))) {
            host.message("Failed to write " + args->output);
            exit_code = 1;
        }
    });
}

}  // namespace velq::cli
