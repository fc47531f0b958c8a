#include "config/parameter_io.h"
#include "tests/config/posted_document.h"
#include "tests/doubles/fake_axparameter.h"
#include "tests/support/becomes_true.h"
#include "tests/web/endpoint_fixture.h"
#include "tests/web/process_counters.h"
#include "web/fastcgi_service.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <new>
#include <random>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using namespace std::chrono_literals;

std::atomic<bool> memory_ends_in_body{false}; // once, at its next byte

} // namespace

extern "C" {
int __real_FCGX_GetChar(FCGX_Stream*);

int __wrap_FCGX_GetChar(FCGX_Stream* in) {
    if (memory_ends_in_body.exchange(false))
        throw std::bad_alloc();
    return __real_FCGX_GetChar(in);
}
}

namespace {

constexpr auto kException =
    "error|processPOST:  Exception from processPOST trying to set post parameters."; // two blanks

class FastcgiServiceTest : public EndpointFixture {
  protected:
    FastcgiServiceTest() { service = std::make_unique<running_service>(folder / "service.socket"); }

    /** The body that a POST hands on, as the service reads it: told by what it does to a document's text. */
    std::string stored_after(const std::string& length, const std::string& body) {
        g_ConfigParams.str_AnonOverlay = "none";
        fastcgi_client::parameters parameters = {{"REQUEST_METHOD", "POST"},
                                                 {"REQUEST_URI", "/?action=set_post_parameters"}};
        if (!length.empty())
            parameters.emplace_back("CONTENT_LENGTH", length);
        return service->ask(parameters, body);
    }

    /** Still answers. */
    void expect_alive() const { EXPECT_EQ(service->get("/x?action=get_status_code"), kStatusCode); }

    static constexpr auto kStatusCode = "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n200";

    /** From now on clients have little time. */
    void lose_patience() {
        service = std::make_unique<running_service>(folder / "hurried.socket",
                                                    client_times{.patience = 300ms, .head = 500ms, .answer = 5000ms});
    }
};

/** A service with a request that this thread has accepted, for direct calls. */
class accepted_request {
  public:
    accepted_request(const std::filesystem::path& socket, const fastcgi_client::parameters& parameters,
                     const std::string& body) {
        FCGX_Init();
        service.m_sock = FCGX_OpenSocket(socket.c_str(), 5);
        FCGX_InitRequest(&service.m_request, service.m_sock, 0);
        client = std::make_unique<fastcgi_client>(socket);
        client->send_begin();
        client->send_parameters(parameters);
        client->send_body(body);
        client->end_sending();
        EXPECT_EQ(FCGX_Accept_r(&service.m_request), 0);
    }
    ~accepted_request() { close(service.m_sock); }
    accepted_request(const accepted_request&) = delete;
    accepted_request& operator=(const accepted_request&) = delete;

    /** Ends the request; what has been written so far. */
    std::string answer() {
        FCGX_Finish_r(&service.m_request);
        return client->receive();
    }

    fastcgi_service service;

  private:
    std::unique_ptr<fastcgi_client> client;
};

UriQueryListStructA action(const char* value) {
    return {"action", value, nullptr};
}

TEST_F(FastcgiServiceTest, FillsAShortBodyWithBytesOf255) {
    const struct {
        const char* length;
        std::string body;
        std::string read;
    } table[] = {
        {"5", "abcde", "abcde"},
        {"3", "abcde", "abc"},
        {"9", "abcde", "abcde\xff\xff\xff\xff"},
        {"4", "", "\xff\xff\xff\xff"},
        {"0", "abcde", ""},
        {"-5", "abcde", ""},
        {"3 or so", "abcde", "abc"},
        {"many", "abcde", ""},
        {"4", std::string("\0\x80\xff\n", 4), std::string("\0\x80\xff\n", 4)},
        {"65538", "ab", "ab" + std::string(65536, '\xff')},
        {"65539", "ab", "ab" + std::string(65536, '\xff')}, // no more than that is filled
    };
    for (const auto& [length, body, read] : table) {
        accepted_request request("direct.socket", {{"CONTENT_LENGTH", length}}, body);
        EXPECT_EQ(request.service.get_post_body(), read) << length;
        EXPECT_EQ(request.answer(), "");
    }
    accepted_request without_length("direct.socket", {{"REQUEST_METHOD", "POST"}}, "abcde");
    EXPECT_EQ(without_length.service.get_post_body(), "");
    EXPECT_EQ(without_length.answer(), "");
}

TEST_F(FastcgiServiceTest, ReportsOnlyAnException) {
    accepted_request request("direct.socket", {}, "");
    for (const char* value : {"get_status_code", "nonsense", static_cast<const char*>(nullptr)}) {
        UriQueryListStructA item = action(value);
        EXPECT_EQ(request.service.processGET(&item), 0);
        if (value == nullptr || std::string(value) == "nonsense") {
            EXPECT_EQ(request.service.processPOST(&item, "x"), 0);
        }
    }
    UriQueryListStructA store = action("set_post_parameters");
    EXPECT_EQ(request.service.processPOST(&store, posted_document().text()), 0);
    EXPECT_EQ(request.service.processPOST(&store, "refused"), 0);
    EXPECT_EQ(request.service.processPOST(&store, "<app><a/></app>"), -1);
    EXPECT_EQ(request.answer(), std::string(kStatusCode) + "Status: 200 OK\r\n\r\n\r\nStatus: 200 OK\r\n\r\n\r\n" +
                                    "Status: 200 OK\r\n\r\nStatus: 400 Bad Request\r\n\r\n");
}

TEST_F(FastcgiServiceTest, AnswersEachActionOfAGet) {
    const struct {
        const char* query;
        const char* answer;
    } table[] = {
        {"action=get_status_string",
         "Status: 200 OK\r\nContent-Type: text/plain\r\nContent-Type: text/plain\r\n\r\nRunning"},
        {"action=get_execution_time", "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n37"},
        {"action=get_is_portrait", "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n0"},
        {"action=get_status_code", kStatusCode},
        {"action=clear_logfile", "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\nLog file cleared."},
        {"action=nonsense", "Status: 200 OK\r\n\r\n"},
        {"action=", "Status: 200 OK\r\n\r\n"},
        {"action", "Status: 200 OK\r\n\r\n"},
        {"action=set_post_parameters", "Status: 200 OK\r\n\r\n"},
        {"action=GET_STATUS_CODE", "Status: 200 OK\r\n\r\n"},
        {"action=get_status_code%20", "Status: 200 OK\r\n\r\n"},
        {"action=get_status_code=", "Status: 200 OK\r\n\r\n"},
        // Keys and values count as they are after decoding.
        {"action=get%5Fstatus%5fcode", kStatusCode},
        {"%61ction=get_status_code", kStatusCode},
        {"action=get_status_code%00and%20more", kStatusCode},
        {"foo=1&action=get_status_code&bar", kStatusCode},
        {"&&action=get_status_code&", kStatusCode},
        // Whatever is not the key is skipped.
        {"foo=1", ""},
        {"", ""},
        {"&&&", ""},
        {"Action=get_status_code", ""},
        {"action%20=get_status_code", ""},
        {"=action", ""},
        {"actions=get_status_code", ""},
        // Each action is answered into the same response.
        {"action=get_status_code&action=get_is_portrait", "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n200"
                                                          "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n0"},
        {"action&x=1&action=nonsense&action=get_execution_time",
         "Status: 200 OK\r\n\r\nStatus: 200 OK\r\n\r\nStatus: 200 OK\r\nContent-Type: text/plain\r\n\r\n37"},
    };
    for (const auto& [query, answer] : table)
        EXPECT_EQ(service->get(std::string("/local/korvex_orvel/korvex_orvel_fcgi.cgi?") + query), answer) << query;
}

TEST_F(FastcgiServiceTest, ReadsTheStateAtTheTimeOfTheAnswer) {
    g_StatusCode = -7;
    g_ExecutionTime = -2147483647 - 1;
    g_IsPortrait = true;
    EXPECT_EQ(service->get("?action=get_status_code"), "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n-7");
    EXPECT_EQ(service->get("?action=get_execution_time"),
              "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n-2147483648");
    EXPECT_EQ(service->get("?action=get_is_portrait"), "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n1");
    EXPECT_EQ(service->get("?action=get_status_string"),
              "Status: 200 OK\r\nContent-Type: text/plain\r\nContent-Type: text/plain\r\n\r\nUnknown default status");
}

TEST_F(FastcgiServiceTest, GivesAllParametersAsXml) {
    EXPECT_EQ(service->get("?action=get_all_parameters"),
              "Status: 200 OK\r\nContent-Type: text/xml\r\n\r\n" + parameter_io().get_parameters());
}

TEST_F(FastcgiServiceTest, GivesTheLogInBothFormsAfterTheSameLine) {
    forget_log();
    g_Logger.error("it|broke");
    const std::string date = g_Logger._logEntries.front()._dateTime;
    const std::string header = "Status: 200 OK\r\nContent-Type: text/plain\r\n\r\n";
    const std::string plain = service->get("?action=get_logfile_as_plain_text");
    EXPECT_EQ(plain, header + g_Logger.getPlainLogContents());
    EXPECT_TRUE(plain.starts_with(header + date + " korvex_orvel error broke\n")) << plain;
    EXPECT_TRUE(plain.ends_with(" korvex_orvel info processGET: get_logfile_as_plain_text\n")) << plain;
    EXPECT_THAT(log_lines(), ElementsAre("error|it|broke", "info|processGET: get_logfile_as_plain_text"));
    const std::string serialised = service->get("?action=get_logfile_as_serialized_text");
    EXPECT_EQ(serialised, header + g_Logger.getSerializedLogContents());
    EXPECT_TRUE(serialised.starts_with(header + date + "|korvex_orvel|error|broke\n")) << serialised;
    EXPECT_TRUE(serialised.ends_with("|korvex_orvel|info|processGET: get_logfile_as_plain_text\n")) << serialised;
    EXPECT_THAT(log_lines(), ElementsAre("error|it|broke", "info|processGET: get_logfile_as_plain_text",
                                         "info|processGET: get_logfile_as_plain_text"));
}

TEST_F(FastcgiServiceTest, GivesALogOfMegabytesWhole) {
    forget_log();
    const std::string line(1 << 18, 'x');
    for (int i = 0; i < 12; ++i)
        g_Logger.error(line);
    const std::string answer = service->get("?action=get_logfile_as_plain_text");
    EXPECT_GT(answer.size(), 12 * line.size());
    EXPECT_TRUE(answer.ends_with(g_Logger.getPlainLogContents()));
}

TEST_F(FastcgiServiceTest, LogsNothingForTheOtherActions) {
    for (const char* action :
         {"get_status_string", "get_execution_time", "get_is_portrait", "get_status_code", "clear_logfile", "nonsense"})
        EXPECT_THAT(log_of([&] { service->get(std::string("?action=") + action); }), IsEmpty()) << action;
}

TEST_F(FastcgiServiceTest, ClearsTheLog) {
    g_Logger.info("waiting");
    g_Logger.flush();
    g_Logger.info("waiting, too");
    service->get("?action=clear_logfile");
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(FastcgiServiceTest, RefusesInBareWordsWhatItCannotRead) {
    const struct {
        fastcgi_client::parameters parameters;
        const char* answer;
    } table[] = {
        {{{"REQUEST_METHOD", "GET"}}, "Failed to parse URI"},
        {{}, "Failed to parse URI"},
        {{{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/a b?action=get_status_code"}}, "Failed to parse URI"},
        {{{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/?action=%4"}}, "Failed to parse URI"},
        {{{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "http://[::1/?action=x"}}, "Failed to parse URI"},
        {{{"REQUEST_METHOD", "POST"}, {"REQUEST_URI", "\xff\xfe"}}, "Failed to parse URI"},
        {{{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/x"}}, "Failed to parse query"},
        {{{"REQUEST_METHOD", "POST"}, {"REQUEST_URI", "/x#?action=y"}}, "Failed to parse query"},
        {{{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", ""}}, "Failed to parse query"},
        {{{"REQUEST_METHOD", "PUT"}, {"REQUEST_URI", "/?action=x"}},
         "Only GET and POST supported. Method PUT not supported"},
        {{{"REQUEST_METHOD", "get"}, {"REQUEST_URI", "/?action=x"}},
         "Only GET and POST supported. Method get not supported"},
        {{{"REQUEST_METHOD", "%s%n"}, {"REQUEST_URI", "/?action=x"}},
         "Only GET and POST supported. Method %s%n not supported"},
        {{{"REQUEST_METHOD", "\xff\x01"}, {"REQUEST_URI", "/?action=x"}},
         "Only GET and POST supported. Method \xff\x01 not supported"},
        {{{"REQUEST_METHOD", ""}, {"REQUEST_URI", "/?action=x"}}, "Only GET and POST supported. Method  not supported"},
        {{{"REQUEST_URI", "/?action=x"}}, "Only GET and POST supported. Method  not supported"},
        {{{"REQUEST_URI", "/?b=x"}}, ""},
        {{{"REQUEST_METHOD", "HEAD"}, {"REQUEST_URI", "/?action=x&b&action"}},
         "Only GET and POST supported. Method HEAD not supportedOnly GET and POST supported. Method HEAD not "
         "supported"},
    };
    for (const auto& [parameters, answer] : table) {
        EXPECT_EQ(service->ask(parameters), answer) << fastcgi_client::encode(parameters);
        expect_alive();
    }
}

TEST_F(FastcgiServiceTest, PrintsAMethodOfAnyLength) {
    const std::string method(100000, 'M');
    EXPECT_EQ(service->ask({{"REQUEST_METHOD", method}, {"REQUEST_URI", "/?action"}}),
              "Only GET and POST supported. Method " + method + " not supported");
}

TEST_F(FastcgiServiceTest, StoresAPostedDocument) {
    const std::string body = posted_document().text();
    EXPECT_THAT(
        log_of([&] { EXPECT_EQ(service->post("/?action=set_post_parameters", body), "Status: 200 OK\r\n\r\n"); }),
        IsEmpty());
    EXPECT_EQ(g_ConfigParams.str_AnonOverlay, "640x480");
    EXPECT_EQ(fake_axparameter::values()["SelectedAnonOverlay"], "640x480");
}

TEST_F(FastcgiServiceTest, TellsARefusedDocumentFromOneThatThrows) {
    EXPECT_THAT(log_of([&] {
                    EXPECT_EQ(service->post("/?action=set_post_parameters", "no document"),
                              "Status: 400 Bad Request\r\n\r\n");
                }),
                ElementsAre("error|parseXMLData: Failed to parse XML payload",
                            "error|set_post_parameters: Failed to parse XML payload"));
    for (const std::string body : {"<app><MinNumberOfPeopleForTrigger>x</MinNumberOfPeopleForTrigger></app>",
                                   "<app>\n<a>1</a></app>", "<app><a/></app>"})
        EXPECT_THAT(log_of([&] { EXPECT_EQ(service->post("/?action=set_post_parameters", body), "") << body; }),
                    ElementsAre(kException))
            << body;
}

TEST_F(FastcgiServiceTest, AnswersAnyOtherActionOfAPostWithALineEnd) {
    for (const char* query : {"action=other", "action=", "action", "action=get_status_code"})
        EXPECT_EQ(service->post(std::string("/?") + query, "body"), "\r\n") << query;
    EXPECT_EQ(service->post("/?foo=1", "body"), "");
}

TEST_F(FastcgiServiceTest, GivesTheBodyToTheFirstActionOnly) {
    const std::string query = "/?action=set_post_parameters&action=set_post_parameters";
    const std::string body = posted_document().text();
    const std::string first_good = "Status: 200 OK\r\n\r\nStatus: 400 Bad Request\r\n\r\n";
    EXPECT_EQ(service->post(query, body), first_good);
    EXPECT_EQ(service->post("/?action=other&action=set_post_parameters", body), "\r\nStatus: 400 Bad Request\r\n\r\n");
}

TEST_F(FastcgiServiceTest, ReadsAsMuchBodyAsTheLengthSays) {
    const std::string document = posted_document().text();
    const std::string exact = std::to_string(document.size());
    const std::string stored = "Status: 200 OK\r\n\r\n";
    const std::string refused = "Status: 400 Bad Request\r\n\r\n";
    const struct {
        std::string length;
        std::string body;
        std::string answer;
    } table[] = {
        {exact, document, stored},
        {exact, document + "and more", stored},
        {" +" + exact, document, stored},
        {exact + " bytes", document, stored},
        {std::to_string(document.size() - 1), document, refused},
        {std::to_string(document.size() + 1), document, refused}, // a byte of 255 follows the document
        {"", document, refused},
        {"0", document, refused},
        {"-1", document, refused},
        {"many", document, refused},
        {"-99999999999999999999", document, refused},
        {"99999999999999999999", document, refused},
        {"2147483647", document, refused},
        {"2147483648", document, refused}, // what fits no int is cut to its low bits: negative
        {"4294967296", document, refused},
        {"1000000", "", refused},
    };
    for (const auto& [length, body, answer] : table) {
        EXPECT_EQ(stored_after(length, body), answer) << length;
        EXPECT_EQ(g_ConfigParams.str_AnonOverlay, answer == stored ? "640x480" : "none") << length;
    }
}

TEST_F(FastcgiServiceTest, TakesABodyOfManyRecordsAndOfAnyBytes) {
    std::string document = posted_document().text();
    document.insert(document.size() - 6, "<More>" + std::string(200000, 'x') + "</More>");
    EXPECT_EQ(service->post("/?action=set_post_parameters", document), "Status: 200 OK\r\n\r\n");
    std::mt19937 random(4711);
    std::string bytes(100000, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    EXPECT_EQ(service->post("/?action=set_post_parameters", bytes), "Status: 400 Bad Request\r\n\r\n");
}

TEST_F(FastcgiServiceTest, TakesParametersOfAnyBytes) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        fastcgi_client::parameters parameters;
        for (int i = 0; i < 5; ++i) {
            std::string name(random() % 300, '\0');
            std::string value(random() % 300, '\0');
            for (std::string* text : {&name, &value})
                for (char& byte : *text)
                    byte = static_cast<char>(random());
            parameters.emplace_back(name, value);
        }
        parameters.emplace_back("REQUEST_METHOD", "GET");
        parameters.emplace_back("REQUEST_URI", "/?action=get_status_code");
        ASSERT_EQ(service->ask(parameters), kStatusCode);
    }
}

TEST_F(FastcgiServiceTest, GoesOnWhenAClientGoesAwayHalfWay) {
    const fastcgi_client::parameters post = {
        {"REQUEST_METHOD", "POST"}, {"REQUEST_URI", "/?action=set_post_parameters"}, {"CONTENT_LENGTH", "5000"}};
    const std::string encoded = fastcgi_client::encode(post);
    g_ConfigParams.str_AnonOverlay = "none";
    const std::string steps[] = {
        "",                                                  // connects only
        "\x01",                                              // in the first header
        fastcgi_client::encode(fastcgi_client::params, "x"), // no begin
        std::string("GET / HTTP/1.0\r\n\r\n"),               // another protocol
    };
    for (const std::string& bytes : steps) {
        { fastcgi_client(service->socket()).send_bytes(bytes); }
        expect_alive();
    }
    for (size_t cut = 0; cut <= encoded.size(); cut += 7) {
        {
            fastcgi_client client(service->socket());
            client.send_begin();
            client.send_bytes(fastcgi_client::encode(fastcgi_client::params, encoded).substr(0, cut));
        }
        expect_alive();
    }
    for (const bool reads : {true, false}) {
        {
            fastcgi_client client(service->socket());
            client.send_begin();
            client.send_parameters(post);
            client.send_record(fastcgi_client::in, posted_document().text().substr(0, 100));
            client.end_sending();
            if (reads) {
                EXPECT_EQ(client.receive(), "Status: 400 Bad Request\r\n\r\n");
            }
        }
        expect_alive();
    }
    EXPECT_EQ(g_ConfigParams.str_AnonOverlay, "none");
}

TEST_F(FastcgiServiceTest, GivesUpAClientThatKeepsItsConnectionAndSendsHalfItsParameters) {
    lose_patience();
    fastcgi_client silent(service->socket());
    silent.send_begin();
    silent.send_record(fastcgi_client::params, fastcgi_client::encode({{"REQUEST_METHOD", "GET"}}).substr(0, 9));
    expect_alive();
}

TEST_F(FastcgiServiceTest, GivesUpAClientThatKeepsItsConnectionAndSendsNoBody) {
    lose_patience();
    fastcgi_client silent(service->socket());
    silent.send_begin();
    silent.send_parameters(
        {{"REQUEST_METHOD", "POST"}, {"REQUEST_URI", "/?action=set_post_parameters"}, {"CONTENT_LENGTH", "10"}});
    expect_alive();
}

TEST_F(FastcgiServiceTest, GivesUpAClientThatDoesNotTakeItsAnswer) {
    lose_patience();
    g_Logger.info(std::string(3000000, 'x')); // more than the connection holds
    fastcgi_client deaf(service->socket());
    deaf.send_begin();
    deaf.send_parameters({{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/?action=get_logfile_as_plain_text"}});
    deaf.send_body("");
    expect_alive();
}

TEST_F(FastcgiServiceTest, AnswersTheNextRequestOfAKeptConnection) {
    // In one piece: libfcgi takes the end of a body that comes after its answer for a broken next request.
    const fastcgi_client::parameters get = {{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/?action=get_status_code"}};
    const std::string responder_and_keep = {0, 1, 1, 0, 0, 0, 0, 0};
    const std::string request = fastcgi_client::encode(fastcgi_client::begin_request, responder_and_keep) +
                                fastcgi_client::encode(fastcgi_client::params, fastcgi_client::encode(get)) +
                                fastcgi_client::encode(fastcgi_client::params, "") +
                                fastcgi_client::encode(fastcgi_client::in, "");
    lose_patience();
    fastcgi_client client(service->socket());
    for (int i = 0; i < 3; ++i) {
        client.send_bytes(request);
        EXPECT_EQ(client.receive(), kStatusCode);
        EXPECT_TRUE(client.finished());
    }
    expect_alive(); // another client, though this one is still there
}

TEST_F(FastcgiServiceTest, AnswersOnlyAPostAfterItsBody) {
    fastcgi_client client(service->socket());
    client.send_begin();
    client.send_parameters({{"REQUEST_METHOD", "PUT"}, {"REQUEST_URI", "/?action=x"}, {"CONTENT_LENGTH", "1000"}});
    EXPECT_EQ(client.receive(), "Only GET and POST supported. Method PUT not supported");
}

TEST_F(FastcgiServiceTest, LeavesDescriptorsAndMemoryWhereTheyWere) {
    const std::string document = posted_document().text();
    const auto ask_all = [&](int times) {
        for (int i = 0; i < times; ++i) {
            service->get("/?action=get_status_code");
            service->get("/?action=clear_logfile&action=get_status_string&x=%20");
            service->get("/ ?");
            service->get("/");
            service->ask({{"REQUEST_URI", "/?action"}});
            service->ask({{"REQUEST_METHOD", "POST"},
                          {"REQUEST_URI", "/?action=set_post_parameters"},
                          {"CONTENT_LENGTH", "2147483647"}});
            service->post("/?action=set_post_parameters", "<!DOCTYPE a [<!ENTITY b \"c\">]><a><x>&b;</x></a>");
            service->post("/?action=set_post_parameters", "<a>\n</a>");
            service->get("/?action=nonsense");
            { fastcgi_client(service->socket()).send_begin(); }
        }
    };
    ask_all(50);
    const process_counters before = count_process();
    ask_all(1000); // 10,000 requests
    // The service closes its end of the last connection a moment after ours.
    EXPECT_TRUE(becomes_true([&] { return count_process().descriptors <= before.descriptors; }));
    const process_counters after = count_process();
    EXPECT_LT(after.heap_bytes, before.heap_bytes + 64 * 1024);
}

TEST_F(FastcgiServiceTest, TakesLittleMoreMemoryThanHasCome) {
    constexpr size_t size = 60U << 20;
    expect_alive();
    const std::string body(size, 'x');
    std::ofstream("/proc/self/clear_refs") << 5; // the peak begins anew
    const process_counters before = count_process();
    // The client's own memory is another process's.
    EXPECT_EXIT(_exit(service->post("/?action=set_post_parameters", body) == "Status: 400 Bad Request\r\n\r\n" ? 0 : 1),
                testing::ExitedWithCode(0), "");
    // The text grows in steps and libxml2 copies it, twice one after the other; a sanitizer keeps what is given back.
    EXPECT_LT(count_process().peak_resident_bytes, before.peak_resident_bytes + size * 5);
}

TEST_F(FastcgiServiceTest, GivesUpTheRequestAloneThatFindsNoMemory) {
    for (int times = 0; times < 3; ++times) {
        memory_ends_in_body = true;
        EXPECT_EQ(service->post("/?action=set_post_parameters", posted_document().text()), "");
        EXPECT_FALSE(memory_ends_in_body);
        expect_alive();
    }
    EXPECT_EQ(service->post("/?action=set_post_parameters", posted_document().text()), "Status: 200 OK\r\n\r\n");
}

TEST_F(FastcgiServiceTest, TakesNoMemoryForALengthThatIsOnlyStated) {
    expect_alive();
    std::ofstream("/proc/self/clear_refs") << 5; // the peak begins anew
    const process_counters before = count_process();
    EXPECT_EQ(stored_after("2000000000", "<app>"), "Status: 400 Bad Request\r\n\r\n");
    EXPECT_LT(count_process().peak_resident_bytes, before.peak_resident_bytes + 8 * 1024 * 1024);
}

} // namespace
