#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "foundation/Base64.h"
#include "support/HttpFixture.h"

namespace qv {
namespace {

const std::string kChallenge = "HTTP/1.0 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n\r\nno";

class HTTPAuthenticationTest : public test::HttpFixture {};

TEST_F(HTTPAuthenticationTest, WithoutAHandlerA401IsAnOrdinaryPage) {
    http.Get(String(Url("/p")));
    const int fd = Serve();
    test::WriteAll(fd, kChallenge);
    close(fd);
    ASSERT_TRUE(WaitFor("page"));
    EXPECT_EQ(events, (std::vector<std::string>{"connected", "headers 401", "progress 2/0 no",
                                                "page " + Url("/p") + " 401 [no]"}));
}

TEST_F(HTTPAuthenticationTest, AYesRepeatsOnceWithCredentialsThatAreThenForgotten) {
    int asked = 0;
    http.events.AuthenticationRequired = [&](const HTTPSocket::Headers& headers, String& name, String& password) {
        ++asked;
        EXPECT_EQ(headers->Value("WWW-Authenticate").Bytes(), "Basic realm=\"x\"");
        name = "user";
        password = "pass word";
        return true;
    };
    http.Get(String(Url("/p")));
    std::string first, second, third;
    const int challenge = Serve(&first);
    test::WriteAll(challenge, kChallenge);
    const int answer = Serve(&second);
    close(challenge);
    test::WriteAll(answer, "HTTP/1.0 200 OK\r\n\r\nwelcome");
    close(answer);
    ASSERT_TRUE(WaitFor("page"));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(first.find("Authorization"), std::string::npos);
    EXPECT_NE(second.find("\r\nAuthorization: Basic " + std::string(Base64Encode("user:pass word").Bytes()) + "\r\n"),
              std::string::npos)
        << second;
    EXPECT_EQ(Count("headers"), 1u) << "the 401 raises no HeadersReceived";
    EXPECT_EQ(events.back(), "page " + Url("/p") + " 200 [welcome]");

    http.Get(String(Url("/again")));
    close(Serve(&third));
    EXPECT_EQ(third.find("Authorization"), std::string::npos) << "used in exactly one request";
}

TEST_F(HTTPAuthenticationTest, LongCredentialsAreWrappedAndTheBreakStaysInTheValue) {
    http.events.AuthenticationRequired = [](const HTTPSocket::Headers&, String& name, String& password) {
        name = String(std::string(40, 'n'));
        password = String(std::string(20, 'p'));  // 61 bytes joined: more than one line of 76
        return true;
    };
    http.Get(String(Url()));
    test::WriteAll(Serve(), kChallenge);
    std::string repeat;
    const int fd = Serve(&repeat);
    close(fd);
    const std::string encoded(EncodeBase64(String(std::string(40, 'n') + ":" + std::string(20, 'p')), 76).Bytes());
    ASSERT_NE(encoded.find("\r\n"), std::string::npos);
    EXPECT_NE(repeat.find("Authorization: Basic " + encoded + "\r\n"), std::string::npos) << repeat;
}

}  // namespace
}  // namespace qv
