#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "support/HttpFixture.h"

namespace qv {
namespace {

class HTTPFormsTest : public test::HttpFixture {};

TEST_F(HTTPFormsTest, EncodesPairsInDictionaryOrderWithTheFixedEscapes) {
    struct Case {
        const char* what;
        Dictionary form;
        std::string encoded;
    };
    const Case cases[] = {
        {"order of insertion", Dictionary{{"b", "2"}, {"a", "1"}}, "b=2&a=1"},
        {"blank and plus", Dictionary{{"date", "1 + 1"}}, "date=1+%2B+1"},
        {"a percent is escaped first", Dictionary{{"goi", "%41"}}, "goi=%2541"},
        {"line ends", Dictionary{{"k", "a\r\nb"}}, "k=a%0D%0Ab"},
        {"every escaped character, in list order",
         Dictionary{{"v", "%&=,/\\][{}`~-_()*^$#!+;<>"}},
         "v=%25%26%3D%2C%2F%5C%5D%5B%7B%7D%60%7E%2D%5F%28%29%2A%5E%24%23%21%2B%3B%3C%3E"},
        {"left as they are", Dictionary{{"v", ".:?@'\"|\x01\xE9"}}, "v=.:?@'\"|\x01\xE9"},
        {"keys too", Dictionary{{"a b", "c"}}, "a+b=c"},
        {"empty form", Dictionary{}, ""},
    };
    for (const Case& c : cases) EXPECT_EQ(http.EncodeFormData(&c.form).Bytes(), c.encoded) << c.what;
    EXPECT_THROW(http.EncodeFormData(nullptr), NilObjectException);
}

TEST_F(HTTPFormsTest, AnEmptyFormPostsZeroBytesWithItsType) {
    const Dictionary empty;
    http.SetFormData(&empty);
    http.Post(String(Url("/news")));
    std::string request;
    close(Serve(&request));
    EXPECT_NE(request.find("\r\nContent-type: application/x-www-form-urlencoded\r\nContent-length: 0\r\n\r\n"),
              std::string::npos)
        << request;
    EXPECT_EQ(request.substr(request.size() - 4), "\r\n\r\n");
}

TEST_F(HTTPFormsTest, ANilFormClearsThePreparedBody) {
    const Dictionary form{{"date", "x"}};
    http.SetFormData(&form);
    http.SetFormData(nullptr);
    http.Post(String(Url()));
    std::string request;
    close(Serve(&request));
    EXPECT_NE(request.find("\r\nContent-type: \r\nContent-length: 0\r\n\r\n"), std::string::npos) << request;
}

}  // namespace
}  // namespace qv
