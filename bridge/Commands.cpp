// SPDX-License-Identifier: MIT
#include "bridge/Commands.h"

#include "bridge/Album.h"
#include "bridge/AlbumList.h"
#include "bridge/Command.h"
#include "bridge/PlayerState.h"
#include "bridge/Queue.h"
#include "bridge/Replies.h"
#include "bridge/Song.h"
#include "util/Log.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <climits>
#include <utility>

namespace bridge {
namespace {

std::string playerState(Mpd& mpd) {
    PlayerState state;
    mpd.ask({"status"}, [&](std::string_view name, std::string_view value) { state.take(name, value); });
    return playerStateReply(state);
}

std::string getPlayerState(const Command&, MusicServer& server) { return server.with(playerState); }

/** Lets MPD do something, and tells what the player does then. */
std::string tell(MusicServer& server, const MpdCommand& command) {
    return server.with([&](Mpd& mpd) {
        mpd.tell(command);
        return playerState(mpd);
    });
}

std::string play(const Command& command, MusicServer& server) {
    const std::optional<int> position = command.number("Position", 1, INT_MAX);
    if (!position) return tell(server, {"play"});
    try {
        return tell(server, {"play", std::to_string(*position - 1)});
    } catch (const Refused& e) {
        if (!e.invalidArgument()) throw;
        throw Failure(ErrorCode::notThere, "The queue has no song at this position.");
    }
}

std::string pause(const Command&, MusicServer& server) { return tell(server, {"pause", "1"}); }
std::string stop(const Command&, MusicServer& server) { return tell(server, {"stop"}); }
std::string next(const Command&, MusicServer& server) { return tell(server, {"next"}); }
std::string previous(const Command&, MusicServer& server) { return tell(server, {"previous"}); }

std::string setVolume(const Command& command, MusicServer& server) {
    const int volume = Command::required(command.number("Volume", 0, 100), "Volume");
    return tell(server, {"setvol", std::to_string(volume)});
}

std::vector<Song> songsFrom(Mpd& mpd, const MpdCommand& command) {
    SongReader reader;
    mpd.ask(command, [&](std::string_view name, std::string_view value) { reader.take(name, value); });
    return std::move(reader).songs();
}

std::string getCurrentSong(const Command&, MusicServer& server) {
    return songsReply("CurrentSong", server.with([](Mpd& mpd) { return songsFrom(mpd, {"currentsong"}); }));
}

struct AlbumFields {
    std::string album;
    AlbumChoice choice;

    explicit AlbumFields(const Command& command)
        : album(Command::required(command.text("Album"), "Album")),
          choice{command.text("Artist"), command.number("Sampler", 0, 1).value_or(0) == 1} {}
};

std::vector<Song> albumSongs(Mpd& mpd, const AlbumFields& fields) {
    const std::string filter = fmt::format("(Album == {})", bridge::quoted(fields.album));
    std::vector<Song> songs = songsFrom(mpd, {"find", filter});
    if (songs.empty()) songs = songsFrom(mpd, {"search", filter}); // which ignores case
    return albumSongs(std::move(songs), fields.choice);
}

std::string getAlbumSongs(const Command& command, MusicServer& server) {
    const AlbumFields fields(command);
    return songsReply("AlbumSongs", server.with([&](Mpd& mpd) { return albumSongs(mpd, fields); }));
}

std::string addAlbum(const Command& command, MusicServer& server) {
    const AlbumFields fields(command);
    return server.with([&](Mpd& mpd) {
        const std::vector<Song> songs = albumSongs(mpd, fields);
        if (songs.empty()) throw Failure(ErrorCode::notThere, "The music server does not know this album.");
        addToQueue(mpd, songs);
        return addedSongsReply(songs.size());
    });
}

std::string listAlbums(const Command& command, MusicServer& server) {
    const std::optional<std::string> artist = command.text("Artist");
    AlbumListReader reader;
    server.with([&](Mpd& mpd) {
        mpd.ask({"list", "Album", "group", "AlbumArtist"},
                [&](std::string_view name, std::string_view value) { reader.take(name, value); });
    });
    return albumsReply(sortedAlbums(std::move(reader).albums(), artist));
}

struct Kind {
    std::string_view name;
    std::string (*carryOut)(const Command& command, MusicServer& server);
    std::array<std::string_view, 3> fields; // the rest is empty, which no field is
};

// clang-format off
constexpr std::array kinds{
    Kind{"GetPlayerState", getPlayerState, {}},
    Kind{"Play", play, {"Position"}},
    Kind{"Pause", pause, {}},
    Kind{"Stop", stop, {}},
    Kind{"Next", next, {}},
    Kind{"Previous", previous, {}},
    Kind{"SetVolume", setVolume, {"Volume"}},
    Kind{"GetCurrentSong", getCurrentSong, {}},
    Kind{"GetAlbumSongs", getAlbumSongs, {"Album", "Artist", "Sampler"}},
    Kind{"AddAlbum", addAlbum, {"Album", "Artist", "Sampler"}},
    Kind{"ListAlbums", listAlbums, {"Artist"}},
};
// clang-format on

} // namespace

std::string carryOut(const std::string& document, MusicServer& server) {
    constexpr std::size_t maxShownNameBytes = 60;
    const Command command(document);
    const auto* const kind = std::ranges::find(kinds, command.name(), &Kind::name);
    if (kind == kinds.end())
        throw Failure(
            ErrorCode::unknownCommand,
            fmt::format("There is no command {}.", util::printable(command.name(), maxShownNameBytes)));
    command.allowOnly(kind->fields);
    return kind->carryOut(command, server);
}

} // namespace bridge
