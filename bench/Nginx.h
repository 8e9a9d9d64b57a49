#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace qv::bench {

// nginx on 127.0.0.1 for the length of a benchmark: its own configuration,
// document root, pid file and logs in a temporary folder, in the foreground
// as a single process on a free port; stopped, and the folder removed, by the
// destructor. Nothing of the machine's own nginx set-up is read or touched.
class Nginx {
public:
    // Serves `body` as /<name>.
    Nginx(const std::string& name, const std::string& body);
    ~Nginx();
    Nginx(const Nginx&) = delete;
    Nginx& operator=(const Nginx&) = delete;

    // False when nginx is missing or did not come up; Problem() says why.
    bool Running() const { return pid_ > 0; }
    const std::string& Problem() const { return problem_; }
    std::string Url(const std::string& name) const;

private:
    bool Start(int port);
    void Stop();

    std::string dir_;
    pid_t pid_ = -1;
    int port_ = 0;
    std::string problem_;
};

}  // namespace qv::bench
