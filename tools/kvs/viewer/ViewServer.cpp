#include "tools/kvs/viewer/ViewServer.h"

#include "tools/kvs/Cli.h"
#include "tools/kvs/Material.h"

#include <httplib.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <pthread.h>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kvs::viewer {

namespace {

using nlohmann::json;

// Requests carry one value, a label or a state string.
constexpr size_t kMaxRequestBytes = size_t(1) << 20;
constexpr size_t kMaxThreeJsBytes = size_t(8) << 20;

// Text from a damaged package may not be UTF-8: it goes out with replacement characters.
std::string dumped(const json& body) {
    return body.dump(-1, ' ', false, json::error_handler_t::replace);
}

void answerError(httplib::Response& response, int status, const std::string& reason) {
    response.status = status;
    response.set_content(dumped({{"error", reason}}), "application/json");
}

// Runs a handler, turning what it throws into an error response.
template <typename Handler>
httplib::Server::Handler guarded(Handler handler) {
    return [handler](const httplib::Request& request, httplib::Response& response) {
        try {
            handler(request, response);
        } catch (const RequestError& e) {
            answerError(response, e.status, e.what());
        } catch (const json::exception& e) {
            answerError(response, 400, std::string("bad JSON: ") + e.what());
        } catch (const Failure& e) {
            answerError(response, 422, e.what());
        } catch (const std::bad_alloc&) {
            answerError(response, 503, "out of memory");
        } catch (const std::exception& e) {
            answerError(response, 500, e.what());
        }
    };
}

json bodyObject(const httplib::Request& request) {
    const json body = json::parse(request.body);
    if (!body.is_object()) {
        throw RequestError(400, "the body must be a JSON object");
    }
    return body;
}

void answer(httplib::Response& response, const json& body) {
    response.set_content(dumped(body), "application/json");
}

// An update goes out as one body: its JSON's length (32 bits, little-endian),
// the JSON, which lists the images ({id, width, height, channels}), then the
// images back to back, written straight from the session's buffers: at 512 a
// body of every output is 2.75 MiB, which a copy would first fault in.
struct UpdateBody {
    std::string head;
    NamedImages images;

    bool operator()(size_t offset, size_t length, httplib::DataSink& sink) const {
        if (offset < head.size()) {
            return sink.write(head.data() + offset, std::min(length, head.size() - offset));
        }
        offset -= head.size();
        for (const auto& named : images) {
            const std::vector<unsigned char>& bytes = named.second->bytes;
            if (offset < bytes.size()) {
                const size_t count = std::min(length, bytes.size() - offset);
                return sink.write(reinterpret_cast<const char*>(bytes.data() + offset), count);
            }
            offset -= bytes.size();
        }
        return false;
    }
};

void answerUpdate(httplib::Response& response, Update update) {
    json list = json::array();
    size_t length = 0;
    for (const auto& [id, image] : update.images) {
        list.push_back(
            {{"id", id}, {"width", image->width}, {"height", image->height}, {"channels", image->channels}});
        length += image->bytes.size();
    }
    update.result["images"] = std::move(list);
    const std::string text = dumped(update.result);
    const auto size = static_cast<uint32_t>(text.size());
    std::string head = {static_cast<char>(size & 0xFF), static_cast<char>((size >> 8) & 0xFF),
                        static_cast<char>((size >> 16) & 0xFF), static_cast<char>(size >> 24)};
    head += text;
    length += head.size();
    response.set_header("Cache-Control", "no-store");
    response.set_content_provider(length, "application/octet-stream",
                                  UpdateBody{std::move(head), std::move(update.images)});
}

void addRoutes(httplib::Server& server, ViewSession& session, const std::string& threeJs) {
    server.Get("/", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(findAsset("index.html")->body, "text/html; charset=utf-8");
    });
    server.Get(R"(/([a-z]+\.(js|css|html)))",
               [threeJs](const httplib::Request& request, httplib::Response& response) {
                   const std::string name = request.matches[1];
                   if (name == "three.js" && !threeJs.empty()) {
                       response.set_content(threeJs, "text/javascript");
                   } else if (const Asset* asset = findAsset(name)) {
                       response.set_content(asset->body, asset->type);
                   } else {
                       answerError(response, 404, "no file " + name);
                   }
               });
    server.Get("/api/material", guarded([&session](const httplib::Request&, httplib::Response& response) {
                   answer(response, session.describe());
               }));
    // The outputs named in ?outputs=a,b, in that order, as an update of no edit.
    server.Get("/api/images",
               guarded([&session](const httplib::Request& request, httplib::Response& response) {
                   std::vector<std::string> outputs;
                   std::istringstream names(request.get_param_value("outputs"));
                   for (std::string name; std::getline(names, name, ',');) {
                       outputs.push_back(name);
                   }
                   answerUpdate(response, {json::object(), session.images(outputs)});
               }));
    server.Post(
        "/api/value", guarded([&session](const httplib::Request& request, httplib::Response& response) {
            const json body = bodyObject(request);
            answerUpdate(response, session.setValue(body.at("id").get<std::string>(), body.at("value")));
        }));
    server.Post(
        "/api/preset", guarded([&session](const httplib::Request& request, httplib::Response& response) {
            answerUpdate(response, session.applyPreset(bodyObject(request).at("label").get<std::string>()));
        }));
    server.Post("/api/state",
                guarded([&session](const httplib::Request& request, httplib::Response& response) {
                    answerUpdate(response, session.applyState(request.body));
                }));
    server.Get("/api/state", guarded([&session](const httplib::Request&, httplib::Response& response) {
                   response.set_header("Content-Disposition", "attachment; filename=\"material.state\"");
                   response.set_content(session.state(), "text/plain; charset=utf-8");
               }));
    server.set_error_handler([](const httplib::Request& request, httplib::Response& response) {
        if (response.body.empty()) {
            answerError(response, response.status, "no such page: " + request.path);
        }
    });
}

std::string readThreeJs(const std::string& path) {
    if (path.empty()) {
        return "";
    }
    try {
        const std::vector<char> bytes = readInputFile(path, kMaxThreeJsBytes);
        return std::string(bytes.begin(), bytes.end());
    } catch (const Failure& e) {
        std::fprintf(stderr, "kvs view: no 3D preview: %s\n", e.what());
        return "";
    }
}

} // namespace

sigset_t blockStopSignals() {
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    return stopSignals;
}

void serve(ViewSession& session, const ServerOptions& options, const sigset_t& stopSignals) {
    httplib::Server server;
    server.set_payload_max_length(kMaxRequestBytes);
    server.set_tcp_nodelay(true); // images go out at once, not after the peer's delayed acknowledgement
    addRoutes(server, session, readThreeJs(options.threeJs));
    const int port = options.port == 0
                         ? server.bind_to_any_port(options.address)
                         : (server.bind_to_port(options.address, options.port) ? options.port : -1);
    if (port < 0) {
        throw Failure("cannot listen on " + options.address + ":" + std::to_string(options.port));
    }
    std::thread stopper([&server, stopSignals] {
        int received = 0;
        sigwait(&stopSignals, &received);
        server.stop();
    });
    std::printf("serving http://%s:%d/\n", options.address.c_str(), port);
    std::fflush(stdout);
    server.listen_after_bind();
    // When listening ended without a signal, this one wakes the waiting thread.
    kill(getpid(), SIGTERM);
    stopper.join();
}

} // namespace kvs::viewer
