#include "apps/cli/cataloguereport.h"

#include "apps/cli/flatjson.h"
#include "apps/cli/outputfile.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivwholefile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string fixed(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

std::string jsonList(const std::vector<std::string>& texts) {
    std::string out = "[";
    for (const std::string& text : texts) {
        out += (out.size() > 1 ? ", " : "") + jsonText(text);
    }
    return out + "]";
}

std::string sizeOf(const std::string& path) {
    std::error_code problem;
    const auto size = fs::file_size(path, problem);
    return problem ? std::string() : std::to_string(size);
}

void writeWhole(const std::string& path, const std::string& text) {
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    if (!kivWriteWholeFile(kivFromUtf8(path), bytes)) {
        throw std::runtime_error("can't write \"" + path + "\": " + kivToUtf8(kivSystemErrorText(kivGetLastError())));
    }
}

// --- HTML

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : kivToUtf8(kivFromUtf8(text))) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

// A path as an address (RFC 3986): it begins with "./", so that no name is taken for a scheme.
std::string addressOf(const std::string& path) {
    std::string out = "./";
    for (const char c : path) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || std::strchr("/-._~", c) != nullptr) {
            out += c;
        } else {
            char code[4];
            std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(c));
            out += code;
        }
    }
    return out;
}

constexpr const char* sheetHead = R"(<!doctype html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>Catalogue</title>
<style>
body { font: 14px/1.4 system-ui, sans-serif; margin: 24px; color: #222; background: #fafafa; }
main { display: grid; grid-template-columns: repeat(auto-fill, minmax(250px, 1fr)); gap: 16px; }
figure { margin: 0; padding: 8px; background: #fff; border: 1px solid #ddd; border-radius: 4px; overflow-wrap: anywhere; }
figure.bad { border-color: #b33; }
.picture { display: flex; height: 190px; align-items: center; justify-content: center; color: #999; }
.picture img { max-width: 100%; max-height: 100%; }
.message { color: #b33; }
small { color: #666; }
</style>
)";

// The picture of a job that a browser can show: the small one, else a drawing, else the picture itself.
std::string shownFile(const std::string& folder, const CatalogueJob& job) {
    std::error_code problem;
    if (!job.key.empty() && fs::exists(folder + "/" + thumbnailName(job), problem)) {
        return thumbnailName(job);
    }
    for (const std::string& output : job.outputs) {
        const std::string ending = fs::path(output).extension().string();
        if ((ending == ".svg" || ending == ".png" || ending == ".jpg") && fs::exists(folder + "/" + output, problem)) {
            return output;
        }
    }
    return {};
}

std::string figureOf(const std::string& folder, const CatalogueJob& job, const CatalogueEntry& entry) {
    const bool isGood = entry.isDrawn && entry.result.status == CatalogueResult::Status::done;
    std::string out = isGood ? "<figure>" : "<figure class=\"bad\">";
    const std::string shown = isGood ? shownFile(folder, job) : std::string();
    out += "<a class=\"picture\"";
    if (isGood && !job.outputs.empty()) {
        out += " href=\"" + addressOf(job.outputs.front()) + "\"";
    }
    out += ">";
    out += shown.empty() ? (isGood ? "no preview" : escaped(statusWord(entry)))
                         : "<img loading=\"lazy\" src=\"" + addressOf(shown) + "\" alt=\"" + escaped(job.model) + "\">";
    out += "</a>\n<figcaption>";
    out += "<b>" + escaped(fs::path(job.model).filename().string()) + "</b><br>";
    for (const std::string& output : job.outputs) {
        out += isGood ? "<a href=\"" + addressOf(output) + "\">" + escaped(output) + "</a> " : escaped(output) + " ";
    }
    out += "<br><small>" + statusWord(entry) + ", " + fixed(entry.result.seconds) + " s, " +
           std::to_string(entry.result.triangles) + " triangles" +
           (job.line > 0 ? ", line " + std::to_string(job.line) : "") + "</small>";
    for (const std::string& message : entry.result.messages) {
        out += "<br><small class=\"message\">" + escaped(message) + "</small>";
    }
    return out + "</figcaption></figure>\n";
}

bool isBad(const CatalogueEntry& entry) {
    return !entry.isDrawn || entry.result.status != CatalogueResult::Status::done;
}

} // namespace

std::string statusWord(const CatalogueEntry& entry) {
    if (!entry.isDrawn) {
        return "not drawn";
    }
    switch (entry.result.status) {
    case CatalogueResult::Status::done:
        return entry.isKept ? "kept" : "done";
    case CatalogueResult::Status::crashed:
        return "crashed";
    case CatalogueResult::Status::timedOut:
        return "timed out";
    case CatalogueResult::Status::cancelled:
        return "cancelled";
    default:
        return "failed";
    }
}

CatalogueJournal::CatalogueJournal(const std::string& place) : folder(place), name(place + "/catalogue.journal") {
    std::ifstream in(name);
    bool isCut = false;
    for (std::string line; std::getline(in, line);) {
        isCut = in.eof();
        try {
            std::map<std::string, std::vector<std::string>> fields;
            for (const auto& [field, values] : parseFlatJson(line)) {
                fields[field] = values;
            }
            Done entry;
            entry.result.status = CatalogueResult::Status::done;
            entry.result.seconds = std::stod(fields["seconds"].at(0));
            entry.result.triangles = std::stoull(fields["triangles"].at(0));
            entry.result.messages = fields["messages"];
            entry.sizes = fields["sizes"];
            done[fields["key"].at(0)] = entry;
        } catch (const std::exception&) {
            continue; // a line that was cut off when its run ended
        }
    }
    descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        throw std::runtime_error("can't write \"" + name + "\": " + std::strerror(errno));
    }
    if (isCut && write(descriptor, "\n", 1) != 1) {
        throw std::runtime_error("can't write \"" + name + "\": " + std::strerror(errno));
    }
}

CatalogueJournal::~CatalogueJournal() {
    close(descriptor);
}

bool CatalogueJournal::knows(const CatalogueJob& job, CatalogueResult& result) const {
    const auto found = done.find(job.key);
    if (found == done.end() || found->second.sizes.size() != job.outputs.size()) {
        return false;
    }
    for (std::size_t i = 0; i < job.outputs.size(); ++i) {
        if (sizeOf(folder + "/" + job.outputs[i]) != found->second.sizes[i] || found->second.sizes[i].empty()) {
            return false;
        }
    }
    result = found->second.result;
    return true;
}

void CatalogueJournal::add(const CatalogueJob& job, const CatalogueResult& result) {
    if (result.status != CatalogueResult::Status::done) {
        return; // and comes again
    }
    std::vector<std::string> sizes;
    for (const std::string& output : job.outputs) {
        sizes.push_back(sizeOf(folder + "/" + output));
    }
    const std::string line = "{\"key\": " + jsonText(job.key) + ", \"model\": " + jsonText(job.model) +
                             ", \"seconds\": " + fixed(result.seconds) +
                             ", \"triangles\": " + std::to_string(result.triangles) +
                             ", \"outputs\": " + jsonList(job.outputs) + ", \"sizes\": " + jsonList(sizes) +
                             ", \"messages\": " + jsonList(result.messages) + "}\n";
    if (write(descriptor, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        throw std::runtime_error("can't write \"" + name + "\": " + std::strerror(errno));
    }
}

void writeReport(const std::string& folder, const std::vector<CatalogueJob>& jobs,
                 const std::vector<CatalogueEntry>& entries, double seconds) {
    std::string out =
        "{\n  \"program\": \"selvarin " SELVARIN_VERSION "\",\n  \"seconds\": " + fixed(seconds) + ",\n  \"jobs\": [";
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        out += i > 0 ? ",\n    {" : "\n    {";
        out += "\"model\": " + jsonText(jobs[i].model);
        out += ", \"line\": " + std::to_string(jobs[i].line);
        out += ", \"outputs\": " + jsonList(jobs[i].outputs);
        out += ", \"status\": " + jsonText(statusWord(entries[i]));
        out += ", \"seconds\": " + fixed(entries[i].result.seconds);
        out += ", \"triangles\": " + std::to_string(entries[i].result.triangles);
        out += ", \"messages\": " + jsonList(entries[i].result.messages) + "}";
    }
    writeWhole(folder + "/report.json", out + "\n  ]\n}\n");
}

void writeContactSheet(const std::string& folder, const std::vector<CatalogueJob>& jobs,
                       const std::vector<CatalogueEntry>& entries) {
    const auto bad = static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(), isBad));
    std::string out = sheetHead;
    out += "<h1>Catalogue</h1>\n<p>" + std::to_string(jobs.size()) + " jobs, " + std::to_string(bad) +
           (bad == 1 ? " of them without a picture" : " of them without pictures") +
           ". <a href=\"./report.json\">report.json</a></p>\n";
    // What went wrong comes first: nobody looks through thousands.
    for (const bool isFirst : {true, false}) {
        if (isFirst && bad == 0) {
            continue;
        }
        out += isFirst ? "<h2>Without pictures</h2>\n<main>\n" : "<h2>Pictures</h2>\n<main>\n";
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            if (isBad(entries[i]) == isFirst) {
                out += figureOf(folder, jobs[i], entries[i]);
            }
        }
        out += "</main>\n";
    }
    writeWhole(folder + "/index.html", out + "</html>\n");
}
