// SPDX-License-Identifier: MIT
// Measures the parts that no upload can avoid: one decode of the picture and one flushed commit of its bytes.
// Reads JPEG pictures from standard input: for each its size in bytes, a newline, and the bytes. Answers each
// with a line: the times of the decode and of the commit in milliseconds.
//
//     upload_floor DATABASE
#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <gd.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

struct ImageDeleter {
    void operator()(gdImagePtr image) const noexcept { gdImageDestroy(image); }
};

class Stopwatch {
public:
    [[nodiscard]] double milliseconds() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

double decode(std::string& jpeg) {
    const Stopwatch stopwatch;
    const std::unique_ptr<gdImageStruct, ImageDeleter> image(
        gdImageCreateFromJpegPtr(static_cast<int>(jpeg.size()), jpeg.data()));
    const double milliseconds = stopwatch.milliseconds();
    if (!image) throw std::runtime_error("a picture can't be decoded");
    return milliseconds;
}

double commit(SQLite::Statement& insert, const std::string& jpeg) {
    insert.reset();
    insert.bindNoCopy(1, jpeg.data(), static_cast<int>(jpeg.size()));
    const Stopwatch stopwatch;
    insert.exec();
    return stopwatch.milliseconds();
}

void measure(const std::string& databaseFile) {
    SQLite::Database database(databaseFile, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    if (database.execAndGet("PRAGMA journal_mode = WAL").getString() != "wal")
        throw std::runtime_error("the file system can't hold a write-ahead log");
    database.exec("PRAGMA synchronous = FULL; CREATE TABLE images (id INTEGER PRIMARY KEY, content BLOB)");
    SQLite::Statement insert(database, "INSERT INTO images (content) VALUES (?)");
    for (std::size_t size = 0; std::cin >> size && std::cin.ignore();) {
        std::string jpeg(size, '\0');
        if (!std::cin.read(jpeg.data(), static_cast<std::streamsize>(size)))
            throw std::runtime_error("a picture is cut off");
        const double decoding = decode(jpeg);
        const double committing = commit(insert, jpeg);
        std::cout << decoding << ' ' << committing << std::endl;
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 2) throw std::runtime_error("one argument is needed, the database");
        measure(argv[1]);
        return EXIT_SUCCESS;
    } catch (const std::exception& e) {
        std::cerr << "upload_floor: " << e.what() << '\n';
        return EXIT_FAILURE;
    }
}
