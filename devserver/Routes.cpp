#include "Routes.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "Connection.h"
#include "StaticFiles.h"

namespace {

using httplib::ContentReader;
using httplib::Request;
using httplib::Response;
using Json = nlohmann::json;

constexpr char kReportPath[] = "/api/v1/service/reporterror";
constexpr size_t kLargestControlBody = 64 * 1024;

/// The library would compress a plain text for clients that allow it, and the logged number of
/// bytes would not be that of the content. What it takes from a provider goes out as it is.
void AnswerBytes(Response& response, const std::string& bytes, const std::string& contentType) {
    response.set_content_provider(bytes.size(), contentType,
                                  [bytes](size_t offset, size_t length, httplib::DataSink& sink) {
                                      return sink.write(bytes.data() + offset, length);
                                  });
}

void AnswerText(Response& response, int status, const std::string& text) {
    response.status = status;
    AnswerBytes(response, text + "\n", "text/plain; charset=utf-8");
}

/// True when the fault is the whole answer.
bool AnswerFault(const FaultRule& fault, Response& response) {
    switch (fault.kind) {
        case FaultKind::refuse:
            Connection::Current().Refuse();
            return true;
        case FaultKind::notFound:
            AnswerText(response, 404, "not found, as scripted");
            return true;
        case FaultKind::serverError:
            AnswerText(response, 500, "server error, as scripted");
            return true;
        case FaultKind::redirect:
            response.set_redirect(fault.to);
            return true;
        default:
            return false;
    }
}

void AnswerFile(const Request& request, Response& response, const std::filesystem::path& root) {
    OpenedFile file;
    const int status = OpenStaticFile(root, request.path, file);
    if (status != 200) {
        return AnswerText(response, status, status == 403 ? "forbidden" : "not found");
    }
    if (file.size == 0) {
        return response.set_content("", file.contentType);
    }
    const auto provide = [file](size_t offset, size_t length, httplib::DataSink& sink) {
        char piece[64 * 1024];
        const size_t got = ReadStaticFile(file, offset, piece, std::min(length, sizeof piece));
        return got > 0 && sink.write(piece, got);
    };
    response.set_content_provider(file.size, file.contentType, provide);
}

Json LogAsJson(const RequestLog& log) {
    Json list = Json::array();
    for (const LogEntry& entry : log.Entries()) {
        list.push_back({{"sequence", entry.sequence},
                        {"time", entry.time},
                        {"scheme", entry.scheme},
                        {"method", entry.method},
                        {"target", entry.target},
                        {"status", entry.status},
                        {"fault", entry.fault},
                        {"bytes", entry.bytes},
                        {"note", entry.note}});
    }
    return list;
}

void AnswerGet(const Request& request, Response& response, ServerState& state) {
    if (request.path == "/_control/log") {
        const auto replaceBadBytes = Json::error_handler_t::replace;
        const std::string text = LogAsJson(state.log).dump(1, ' ', false, replaceBadBytes);
        return AnswerBytes(response, text, "application/json");
    }
    AnswerFile(request, response, state.directory);
}

/// False when the body is larger than `limit` or breaks off; reading stops there.
bool ReadBody(const Request& request, const ContentReader& reader, size_t limit, std::string& body,
              bool& tooLarge) {
    tooLarge = false;
    // A request that announces no body has none (RFC 9112, 6.3); the library would wait for one.
    if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
        return true;
    }
    return reader([&](const char* data, size_t size) {
        tooLarge = size > limit - body.size();
        if (!tooLarge) {
            body.append(data, size);
        }
        return !tooLarge;
    });
}

void AnswerControl(const Request& request, Response& response, const ContentReader& reader,
                   ServerState& state) {
    std::string body;
    bool tooLarge = false;
    if (!ReadBody(request, reader, kLargestControlBody, body, tooLarge)) {
        return AnswerText(response, tooLarge ? 413 : 400, "the request's body cannot be read");
    }
    if (request.path == "/_control/reset") {
        state.faults.Clear();
        state.log.Clear();
        return AnswerText(response, 200, "reset");
    }
    if (request.path != "/_control/fault") {
        return AnswerText(response, 404, "no such control");
    }
    FaultRule rule;
    if (const std::string wrong = ParseFaultJson(body, rule); !wrong.empty()) {
        return AnswerText(response, 400, wrong);
    }
    state.faults.Add(std::move(rule));
    AnswerText(response, 200, "added");
}

Json DescribeRequest(const Request& request, const LogEntry& entry) {
    Json headers = Json::object();
    for (const auto& [name, value] : request.headers) {
        // The library puts these four among those that the client sent.
        const bool isOwn = name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" ||
                           name == "LOCAL_PORT";
        if (isOwn) {
            continue;
        }
        Json& known = headers[name];
        known = known.is_null() ? value : known.get<std::string>() + ", " + value;
    }
    return {{"time", entry.time},
            {"scheme", entry.scheme},
            {"path", entry.target},
            {"headers", std::move(headers)}};
}

bool IsJsonType(const std::string& contentType) {
    const std::string type = contentType.substr(0, contentType.find_first_of("; "));
    return type == "application/json";
}

ReportInbox::Answer ReceiveReport(const Request& request, const ContentReader& reader,
                                  ServerState& state) {
    if (!IsJsonType(request.get_header_value("Content-Type"))) {
        return {400, "report refused: content type"};
    }
    std::string body;
    bool tooLarge = false;
    if (!ReadBody(request, reader, ReportInbox::kLargestBody, body, tooLarge)) {
        const bool announced =
            request.get_header_value<uint64_t>("Content-Length") > ReportInbox::kLargestBody;
        if (tooLarge || announced) {
            return {413, "report refused: too large"};
        }
        return {400, "report refused: body broken off"};
    }
    return state.inbox.Receive(body, DescribeRequest(request, Connection::Current().entry));
}

void AnswerPost(const Request& request, Response& response, const ContentReader& reader,
                ServerState& state) {
    if (request.path.starts_with("/_control/")) {
        return AnswerControl(request, response, reader, state);
    }
    if (!request.path.ends_with(kReportPath)) {
        return AnswerText(response, 404, "not found");
    }
    const ReportInbox::Answer answer = ReceiveReport(request, reader, state);
    Connection::Current().entry.note = answer.note;
    AnswerText(response, answer.status, answer.note);
}

}  // namespace

void AddRoutes(Listener& listener, ServerState& state) {
    using Handled = httplib::Server::HandlerResponse;
    listener.set_default_headers({{"Cache-Control", "no-store"}});
    listener.set_payload_max_length(ReportInbox::kLargestBody);
    listener.set_pre_routing_handler([&state](const Request& request, Response& response) {
        const auto& fault = Connection::Current().fault;
        if (fault && AnswerFault(*fault, response)) {
            return Handled::Handled;
        }
        if (request.method != "GET" && request.method != "HEAD") {
            return Handled::Unhandled;
        }
        AnswerGet(request, response, state);
        return Handled::Handled;
    });
    listener.Post(
        ".*", [&state](const Request& request, Response& response, const ContentReader& reader) {
            AnswerPost(request, response, reader, state);
        });
    // The status is known here, before the first byte goes out.
    listener.set_post_routing_handler([](const Request&, Response& response) {
        LogEntry& entry = Connection::Current().entry;
        entry.status = response.status;
    });
}
