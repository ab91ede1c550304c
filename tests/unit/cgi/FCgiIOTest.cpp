// SPDX-License-Identifier: MIT
#include "cgi/FCgiIO.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using cgicc::FCgiIO;

namespace {

static_assert(std::is_base_of_v<cgicc::CgiInput, FCgiIO> && std::is_base_of_v<std::ostream, FCgiIO>);

/** A FastCGI output stream with a buffer of 8 bytes. Keeps its output in memory. */
class Output {
public:
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() = default;

    Output() {
        stream_.wrNext = buffer_.data();
        stream_.stop = buffer_.data() + buffer_.size();
        stream_.rdNext = stream_.stop;
        stream_.data = this;
        stream_.emptyBuffProc = [](FCGX_Stream* stream, int /*doClose*/) noexcept {
            auto* self = static_cast<Output*>(stream->data);
            self->sent_.append(self->buffer_.data(), stream->wrNext);
            stream->wrNext = self->buffer_.data();
        };
    }

    FCGX_Stream* stream() { return &stream_; }

    /** Acts as if the web server had disconnected. */
    void close() {
        stream_.isClosed = 1;
        stream_.stop = stream_.wrNext;
    }

    /** The bytes that have left the buffer, by a flush or because it was full. */
    [[nodiscard]] std::string sent() const { return {sent_.begin(), sent_.end()}; }

    [[nodiscard]] std::string all() const {
        return sent() + std::string(buffer_.data(), static_cast<const unsigned char*>(stream_.wrNext));
    }

private:
    std::array<unsigned char, 8> buffer_{};
    std::basic_string<unsigned char> sent_;
    FCGX_Stream stream_{};
};

/** A FastCGI input stream that delivers its pieces one after another. */
class Input {
public:
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input() = default;

    explicit Input(std::vector<std::string> pieces) : pieces_(std::move(pieces)) {
        stream_.isReader = 1;
        stream_.data = this;
        stream_.fillBuffProc = [](FCGX_Stream* stream) noexcept {
            auto* self = static_cast<Input*>(stream->data);
            if (self->next_ == self->pieces_.size()) {
                stream->isClosed = 1;
                return;
            }
            std::string& piece = self->pieces_[self->next_++];
            stream->rdNext = reinterpret_cast<unsigned char*>(piece.data());
            stream->stop = stream->wrNext = stream->rdNext + piece.size();
        };
    }

    FCGX_Stream* stream() { return &stream_; }

private:
    std::vector<std::string> pieces_;
    std::size_t next_ = 0;
    FCGX_Stream stream_{};
};

class FCgiIOTest : public testing::Test {
protected:
    FCGX_Request& request(std::vector<std::string> variables = {}, std::vector<std::string> body = {}) {
        variables_ = std::move(variables);
        envp_.clear();
        for (std::string& variable : variables_)
            envp_.push_back(variable.data());
        envp_.push_back(nullptr);
        in = std::make_unique<Input>(std::move(body));
        request_.in = in->stream();
        request_.out = out.stream();
        request_.err = err.stream();
        request_.envp = envp_.data();
        return request_;
    }

    std::unique_ptr<Input> in;
    Output out;
    Output err;

private:
    std::vector<std::string> variables_;
    std::vector<char*> envp_;
    FCGX_Request request_{};
};

} // namespace

TEST_F(FCgiIOTest, KeepsTheVariables) {
    FCgiIO io(request({"SCRIPT_NAME=/sleevery/show", "REQUEST_METHOD=GET"}));
    EXPECT_EQ(io.getenv("SCRIPT_NAME"), "/sleevery/show");
    EXPECT_EQ(io.getenv("REQUEST_METHOD"), "GET");
}

TEST_F(FCgiIOTest, SplitsAtTheFirstEqualsSign) {
    FCgiIO io(request({"A=b=c", "B==", "C=", "=VALUE"}));
    EXPECT_EQ(io.getenv("A"), "b=c");
    EXPECT_EQ(io.getenv("B"), "=");
    EXPECT_EQ(io.getenv("C"), "");
    EXPECT_EQ(io.getenv(""), "VALUE");
}

TEST_F(FCgiIOTest, KeepsTheLastOfTwoVariables) {
    FCgiIO io(request({"A=1", "B=2", "A=3"}));
    EXPECT_EQ(io.getenv("A"), "3");
    EXPECT_EQ(io.getenv("B"), "2");
}

TEST_F(FCgiIOTest, TellsNamesApartByCase) {
    FCgiIO io(request({"A=1", "a=2"}));
    EXPECT_EQ(io.getenv("A"), "1");
    EXPECT_EQ(io.getenv("a"), "2");
}

TEST_F(FCgiIOTest, AnAbsentVariableIsEmpty) {
    FCgiIO io(request());
    EXPECT_EQ(io.getenv("A"), "");
    EXPECT_EQ(io.getenv("A"), "");
    EXPECT_EQ(io.getenv(""), "");
}

TEST_F(FCgiIOTest, RefusesAVariableWithoutEqualsSignWhereverItStands) {
    const std::vector<std::vector<std::string>> environments = {
        {"BROKEN"}, {"BROKEN", "A=1"}, {"A=1", "BROKEN", "B=2"}, {"A=1", "BROKEN"}, {""}};
    for (const auto& environment : environments) {
        try {
            FCgiIO io(request(environment));
            ADD_FAILURE() << environment.front();
        } catch (const std::runtime_error& e) {
            EXPECT_STREQ(e.what(), "Illegally formed environment");
        }
    }
}

TEST_F(FCgiIOTest, ReadsTheBodyAcrossPieces) {
    FCgiIO io(request({}, {"abc", std::string("d\0e", 3), "f"}));
    std::array<char, 8> data{};
    EXPECT_EQ(io.read(data.data(), 5), 5U);
    EXPECT_EQ(std::string(data.data(), 5), std::string("abcd\0", 5));
    EXPECT_EQ(io.read(data.data(), 0), 0U);
    EXPECT_EQ(io.read(data.data(), 2), 2U);
    EXPECT_EQ(std::string(data.data(), 2), "ef");
}

TEST_F(FCgiIOTest, ReadsLessAtTheEndOfTheBody) {
    FCgiIO io(request({}, {"abc"}));
    std::array<char, 8> data{};
    EXPECT_EQ(io.read(data.data(), data.size()), 3U);
    EXPECT_EQ(std::string(data.data(), 4), std::string("abc\0", 4));
    EXPECT_EQ(io.read(data.data(), data.size()), 0U);
}

TEST_F(FCgiIOTest, ALengthBeyondTheKitsRangeIsCut) {
    FCgiIO io(request({}, {"abc"}));
    std::array<char, 8> data{};
    EXPECT_EQ(io.read(data.data(), std::size_t{1} << 32U), 3U);
}

TEST_F(FCgiIOTest, WritesToTheClient) {
    FCgiIO io(request());
    io << "number " << 17 << ' ' << true << '\n';
    const std::string bytes("a\0b\xff", 4);
    io.write(bytes.data(), 4);
    EXPECT_EQ(out.all(), "number 17 1\n" + bytes);
    EXPECT_EQ(err.all(), "");
}

TEST_F(FCgiIOTest, FlushingSendsWhatTheKitHolds) {
    FCgiIO io(request());
    io << "abc";
    EXPECT_EQ(out.sent(), "");
    io << std::flush;
    EXPECT_EQ(out.sent(), "abc");
    io << std::endl;
    EXPECT_EQ(out.sent(), "abc\n");
    EXPECT_TRUE(io.good());
}

TEST_F(FCgiIOTest, ErrWritesToTheErrorLog) {
    FCgiIO io(request());
    io.err() << "what went wrong" << std::endl;
    EXPECT_EQ(err.sent(), "what went wrong\n");
    EXPECT_EQ(out.all(), "");
    EXPECT_EQ(&io.err(), &io.err());
}

TEST_F(FCgiIOTest, AClientThatHasGoneIsNoException) {
    FCgiIO io(request());
    out.close();
    EXPECT_NO_THROW(io << "more than the buffer holds" << std::endl);
    EXPECT_FALSE(io.good());
}

TEST_F(FCgiIOTest, LeavesTheRequestAsItIs) {
    FCGX_Request& accepted = request({"A=1"});
    {
        FCgiIO io(accepted);
        io << "abc";
    }
    EXPECT_EQ(out.sent(), "") << "flushing is left to who finishes the request";
    EXPECT_EQ(out.all(), "abc");
    EXPECT_EQ(accepted.out->isClosed, 0);
    EXPECT_STREQ(accepted.envp[0], "A=1");
}

TEST_F(FCgiIOTest, ACopyHasTheSameVariables) {
    FCgiIO io(request({"A=1", "B=2"}));
    io.getenv("C");
    FCgiIO copy(io);
    EXPECT_EQ(copy.getenv("A"), "1");
    EXPECT_EQ(copy.getenv("B"), "2");
    EXPECT_EQ(copy.getenv("C"), "");
}

TEST_F(FCgiIOTest, ACopyReadsTheSameBody) {
    FCgiIO io(request({}, {"abcd"}));
    FCgiIO copy(io);
    std::array<char, 8> data{};
    EXPECT_EQ(copy.read(data.data(), 2), 2U);
    EXPECT_EQ(io.read(data.data(), 2), 2U);
    EXPECT_EQ(std::string(data.data(), 2), "cd");
}

TEST_F(FCgiIOTest, ACopyWritesNowhere) {
    FCgiIO io(request());
    FCgiIO copy(io);
    copy << "lost" << 17 << std::endl << std::flush;
    copy.write("lost", 4).put('x');
    copy.err() << "lost" << std::endl;
    FCgiIO(copy) << "lost" << std::flush;
    EXPECT_EQ(out.all(), "");
    EXPECT_EQ(err.all(), "");

    io << "kept" << std::flush;
    io.err() << "kept" << std::flush;
    EXPECT_EQ(out.sent(), "kept");
    EXPECT_EQ(err.sent(), "kept");
}
