#include "Answers.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

namespace fs = std::filesystem;
using httplib::ContentReader;
using httplib::DataSink;
using httplib::Request;
using httplib::Response;
using Json = nlohmann::json;

namespace {

const char* const reportPath = "/api/v1/service/reporterror";
const char* const plainBytes = "application/octet-stream";
// Stalled answers each keep a thread.
const size_t threadCount = 32;
// A paced answer moves on so many times a second.
const int64_t slowSteps = 20;

// One request on its way to its answer.
struct Call {
    const Request& request;
    Response& response;
    ServerState& state;
    std::shared_ptr<Exchange> exchange;

    bool HasFault(FaultKind kind) const {
        return exchange->fault && exchange->fault->kind == kind;
    }
};

// Hands one piece of a body to the library, `length` bytes being left, as the fault wants it. The
// request is logged before its last piece: then it stands in the log when the client has all.
bool SendPiece(Exchange& exchange, std::istream& body, size_t offset, size_t length,
               DataSink& sink) {
    char piece[64 * 1024];
    size_t size = std::min(length, sizeof piece);
    static const FaultRule none;
    const FaultRule& fault = exchange.fault ? *exchange.fault : none;
    const bool breaksOff = fault.kind == FaultKind::Cut || fault.kind == FaultKind::Stall;
    if (breaksOff) {
        const auto limit = static_cast<size_t>(fault.after);
        size = std::min(size, limit - std::min(limit, offset));
    }
    if (fault.kind == FaultKind::Slow) {
        const int64_t step = std::max<int64_t>(1, fault.bytesPerSecond / slowSteps);
        size = std::min(size, static_cast<size_t>(step));
        const std::chrono::duration<double> due(static_cast<double>(offset + size) /
                                                static_cast<double>(fault.bytesPerSecond));
        if (exchange.ended.wait_until(exchange.begin + due) == std::future_status::ready) {
            return false;
        }
    }
    if (size == 0) {
        exchange.Log(FaultName(fault.kind));
        if (fault.kind == FaultKind::Stall) {
            exchange.ended.wait();
        }
        return false;
    }
    body.seekg(static_cast<std::streamoff>(offset));
    body.read(piece, static_cast<std::streamsize>(size));
    const auto got = static_cast<size_t>(body.gcount());
    exchange.entry.bytes += got;
    if (got == length) {
        // A cut or stall whose point lies behind the end does not happen.
        exchange.Log(exchange.fault && !breaksOff ? FaultName(fault.kind) : "");
    }
    return got > 0 && sink.write(piece, got);
}

// The library would compress a text for clients that allow it; what it takes from a provider goes
// out as it is.
void Answer(const Call& call, int status, std::shared_ptr<std::istream> body, size_t size,
            const char* type) {
    const std::shared_ptr<Exchange> exchange = call.exchange;
    call.response.status = exchange->entry.status = status;
    if (size == 0 || call.request.method == "HEAD") {
        exchange->Log();
    }
    if (size == 0) {
        call.response.set_content("", type);
    } else if (call.HasFault(FaultKind::NoLength)) {
        // The end of the connection is the end of the body.
        call.response.set_content_provider(type, [=](size_t offset, DataSink& sink) {
            if (offset == size) {
                sink.done();
                return true;
            }
            return SendPiece(*exchange, *body, offset, size - offset, sink);
        });
    } else {
        call.response.set_content_provider(
            size, type, [=](size_t offset, size_t length, DataSink& sink) {
                return SendPiece(*exchange, *body, offset, length, sink);
            });
    }
}

void AnswerText(const Call& call, int status, const std::string& text,
                const char* type = "text/plain; charset=utf-8") {
    Exchange& exchange = *call.exchange;
    // A client may leave with the status, without the text, and the library then does not ask for
    // that: to be logged now.
    if (!exchange.fault || call.HasFault(FaultKind::NotFound) ||
        call.HasFault(FaultKind::ServerError)) {
        exchange.entry.status = status;
        exchange.entry.bytes = text.size() + 1;
        exchange.Log(exchange.fault ? FaultName(exchange.fault->kind) : "");
    }
    Answer(call, status, std::make_shared<std::istringstream>(text + '\n'), text.size() + 1, type);
}

// True when the fault is the whole answer.
bool AnswerFault(const Call& call) {
    if (call.HasFault(FaultKind::Refuse)) {
        call.exchange->Log(FaultName(FaultKind::Refuse));
        call.exchange->isRefused = true;
    } else if (call.HasFault(FaultKind::Redirect)) {
        call.response.set_redirect(call.exchange->fault->to);
        call.exchange->entry.status = 302;
        call.exchange->Log(FaultName(FaultKind::Redirect));
    } else if (call.HasFault(FaultKind::NotFound)) {
        AnswerText(call, 404, "not found, as scripted");
    } else if (call.HasFault(FaultKind::ServerError)) {
        AnswerText(call, 500, "server error, as scripted");
    } else {
        return false;
    }
    return true;
}

void AnswerFile(const Call& call) {
    std::error_code failed;
    const fs::path root = fs::canonical(call.state.directory, failed);
    const fs::path file = fs::weakly_canonical(root.string() + '/' + call.request.path, failed);
    if (failed || *file.lexically_relative(root).begin() == "..") {
        return AnswerText(call, 403, "forbidden");
    }
    // Opening a pipe would wait for its writer.
    if (!fs::is_regular_file(file, failed)) {
        return AnswerText(call, 404, "not found");
    }
    const auto body = std::make_shared<std::ifstream>(file, std::ios::binary);
    const char* const type = file.extension() == ".json" ? "application/json" : plainBytes;
    Answer(call, 200, body, fs::file_size(file), type);
}

void AnswerGet(const Call& call) {
    if (AnswerFault(call)) {
        return;
    }
    if (call.request.path != "/_control/log") {
        return AnswerFile(call);
    }
    const auto replaceBadBytes = Json::error_handler_t::replace;
    const Json list = call.state.log.Entries();
    AnswerText(call, 200, list.dump(1, ' ', false, replaceBadBytes), "application/json");
}

void AnswerControl(const Call& call, const std::string& body) {
    if (call.request.path == "/_control/reset") {
        call.state.faults.Clear();
        call.state.log.Clear();
        return AnswerText(call, 200, "reset");
    }
    if (call.request.path != "/_control/fault") {
        return AnswerText(call, 404, "no such control");
    }
    try {
        call.state.faults.Add(ParseFault(body));
    } catch (const std::exception& wrong) {
        return AnswerText(call, 400, wrong.what());
    }
    AnswerText(call, 200, "added");
}

Json DescribeRequest(const Call& call) {
    Json headers = Json::object();
    for (const auto& [name, value] : call.request.headers) {
        // The library puts these four among those that the client sent.
        if (name.starts_with("REMOTE_") || name.starts_with("LOCAL_")) {
            continue;
        }
        Json& known = headers[name];
        known = known.is_null() ? value : known.get<std::string>() + ", " + value;
    }
    const LogEntry& entry = call.exchange->entry;
    return {{"time", entry.time},
            {"scheme", entry.scheme},
            {"path", entry.target},
            {"headers", std::move(headers)}};
}

// 200, or the status that tells why the body cannot be had; reading stops there.
int ReadBody(const Request& request, const ContentReader& reader, std::string& body) {
    // A request that announces no body has none (RFC 9112, 6.3); the library would wait for one.
    if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
        return 200;
    }
    // The library wants to take forms apart.
    if (request.is_multipart_form_data()) {
        return 400;
    }
    bool isTooLarge = false;
    const bool isWhole = reader([&](const char* data, size_t size) {
        isTooLarge = size > ReportInbox::largestBody - body.size();
        body.append(data, isTooLarge ? 0 : size);
        return !isTooLarge;
    });
    return isTooLarge ? 413 : isWhole ? 200 : 400;
}

ReportInbox::Answer ReceiveReport(const Call& call, int bodyStatus, const std::string& body) {
    const std::string type = call.request.get_header_value("Content-Type");
    if (type.substr(0, type.find_first_of("; ")) != "application/json") {
        return {400, "report refused: content type"};
    }
    if (bodyStatus != 200) {
        return {bodyStatus, bodyStatus == 413 ? "report refused: too large"
                                              : "report refused: body broken off"};
    }
    return call.state.inbox.Receive(body, DescribeRequest(call));
}

void AnswerPost(const Call& call, const ContentReader& reader) {
    std::string body;
    const int bodyStatus = ReadBody(call.request, reader, body);
    if (AnswerFault(call)) {
        return;
    }
    if (call.request.path.starts_with("/_control/")) {
        return AnswerControl(call, body);
    }
    if (!call.request.path.ends_with(reportPath)) {
        return AnswerText(call, 404, "not found");
    }
    const ReportInbox::Answer answer = ReceiveReport(call, bodyStatus, body);
    call.exchange->entry.note = answer.note;
    AnswerText(call, answer.status, answer.note);
}

}  // namespace

void AddAnswers(httplib::Server& server, Relay& relay, ServerState& state) {
    const auto begin = [&](const Request& request, Response& response) {
        const std::shared_ptr<Exchange> exchange = relay.Find(request.remote_port);
        exchange->entry.method = request.method;
        exchange->entry.target = request.target;
        exchange->isLogged = request.path.starts_with("/_control/");
        if (!exchange->isLogged) {
            exchange->fault = state.faults.Take(request.path);
        }
        return Call{request, response, state, exchange};
    };
    server.new_task_queue = [] { return new httplib::ThreadPool(threadCount); };
    server.set_keep_alive_max_count(1);
    server.set_tcp_nodelay(true);
    server.set_default_headers({{"Cache-Control", "no-store"}});
    server.Get(".*", [=](const Request& request, Response& response) {
        AnswerGet(begin(request, response));
    });
    server.Post(".*", [=](const Request& request, Response& response, const ContentReader& reader) {
        AnswerPost(begin(request, response), reader);
    });
}
