// SPDX-License-Identifier: MIT
#include "tags/SecondOpinion.h"

#include "util/Exception.h"

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/tfilestream.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>
#include <taglib/xiphcomment.h>

#include <string>
#include <type_traits>

namespace tags {
namespace {

/** A song file as TagLib sees it. */
struct View {
    std::string frontCover;
    TagLib::PropertyMap properties;
    int milliseconds = 0;
    int samplesPerSecond = 0;
    int channels = 0;
};

std::string textOf(const TagLib::ByteVector& bytes) { return {bytes.data(), bytes.size()}; }

std::string frontCoverOf(TagLib::ID3v2::Tag* tag) {
    if (tag == nullptr) return {};
    for (TagLib::ID3v2::Frame* frame : tag->frameList("APIC")) {
        const auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame);
        if (picture != nullptr && picture->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover)
            return textOf(picture->picture());
    }
    return {};
}

std::string frontCoverOf(const TagLib::List<TagLib::FLAC::Picture*>& pictures) {
    for (const TagLib::FLAC::Picture* picture : pictures) {
        if (picture->type() == TagLib::FLAC::Picture::FrontCover) return textOf(picture->data());
    }
    return {};
}

std::string frontCoverOf(TagLib::MP4::Tag* tag) {
    const TagLib::MP4::CoverArtList covers = tag->item("covr").toCoverArtList();
    return covers.isEmpty() ? std::string() : textOf(covers.front().data());
}

std::string frontCoverOf(TagLib::ASF::Tag* tag) {
    for (const TagLib::ASF::Attribute& attribute : tag->attribute("WM/Picture")) {
        const TagLib::ASF::Picture picture = attribute.toPicture();
        if (picture.isValid() && picture.type() == TagLib::ASF::Picture::FrontCover)
            return textOf(picture.picture());
    }
    return {};
}

std::string frontCoverOf(TagLib::APE::Tag* tag) {
    if (tag == nullptr) return {};
    const TagLib::APE::ItemListMap& items = tag->itemListMap();
    const auto item = items.find("COVER ART (FRONT)");
    if (item == items.end()) return {};
    const std::string value = textOf(item->second.binaryData());
    return value.substr(std::min(value.find('\0'), value.size() - 1) + 1);
}

/** Reads ID3v2, or else ID3v1. TagLib's own order would prefer an APEv2 tag to ID3v1. */
TagLib::PropertyMap textsOf(TagLib::MPEG::File& file) {
    if (file.hasID3v2Tag()) return file.ID3v2Tag()->properties();
    return file.hasID3v1Tag() ? file.ID3v1Tag()->properties() : TagLib::PropertyMap();
}

/**
 * Reads ID3v2, or else WAV's INFO list; TagLib itself mixes the two. Only the usual texts of the list count,
 * because a new tag gets only those. TagLib 2 reads more of them, such as the encoder. The list itself keeps
 * all its bytes.
 */
TagLib::PropertyMap textsOf(TagLib::RIFF::WAV::File& file) {
    if (file.hasID3v2Tag()) return file.ID3v2Tag()->properties();
    return file.hasInfoTag() ? file.InfoTag()->TagLib::Tag::properties() : TagLib::PropertyMap();
}

template <typename File>
TagLib::PropertyMap textsOf(File& file) {
    return file.properties();
}

/** Opens the file as a `File` and reads the front cover from what `tagsOf` returns. */
template <typename File, typename TagsOf>
View viewAs(const std::filesystem::path& path, TagsOf tagsOf) {
    TagLib::FileStream stream(path.c_str(),
                              true); // read-only: file watchers would notice an open for writing
    // Some of these types need a frame factory in TagLib 1; TagLib 2 has a default.
    File file = [&] {
        if constexpr (std::is_constructible_v<File, TagLib::IOStream*>) {
            return File(&stream);
        } else {
            return File(&stream, TagLib::ID3v2::FrameFactory::instance());
        }
    }();
    if (!file.isValid() || file.audioProperties() == nullptr)
        throw util::Exception("The song file is damaged in its audio properties.");
    const TagLib::AudioProperties& sound = *file.audioProperties();
    return {.frontCover = frontCoverOf(tagsOf(file)),
            .properties = textsOf(file),
            .milliseconds = sound.lengthInMilliseconds(),
            .samplesPerSecond = sound.sampleRate(),
            .channels = sound.channels()};
}

View viewOf(const std::filesystem::path& path, Container container) {
    const auto tag = [](auto& file) { return file.tag(); };
    const auto id3v2 = [](auto& file) { return file.ID3v2Tag(); };
    const auto ape = [](auto& file) { return file.APETag(); };
    const auto pictures = [](auto& file) { return file.pictureList(); };
    const auto commentPictures = [](auto& file) { return file.tag()->pictureList(); };
    switch (container) {
    case Container::Mp3:
        return viewAs<TagLib::MPEG::File>(path, id3v2);
    case Container::Wav:
        return viewAs<TagLib::RIFF::WAV::File>(path, id3v2);
    case Container::Aiff:
        return viewAs<TagLib::RIFF::AIFF::File>(path, tag);
    case Container::Flac:
        return viewAs<TagLib::FLAC::File>(path, pictures);
    case Container::OggVorbis:
        return viewAs<TagLib::Ogg::Vorbis::File>(path, commentPictures);
    case Container::OggOpus:
        return viewAs<TagLib::Ogg::Opus::File>(path, commentPictures);
    case Container::OggSpeex:
        return viewAs<TagLib::Ogg::Speex::File>(path, commentPictures);
    case Container::OggFlac:
        return viewAs<TagLib::Ogg::FLAC::File>(path, commentPictures);
    case Container::Mp4:
        return viewAs<TagLib::MP4::File>(path, tag);
    case Container::Asf:
        return viewAs<TagLib::ASF::File>(path, tag);
    case Container::Ape:
        return viewAs<TagLib::APE::File>(path, ape);
    case Container::Musepack:
        return viewAs<TagLib::MPC::File>(path, ape);
    case Container::WavPack:
        break;
    }
    return viewAs<TagLib::WavPack::File>(path, ape);
}

} // namespace

void secondOpinion(const std::filesystem::path& original, const std::filesystem::path& tagged,
                   Container container, std::string_view picture) {
    View before = viewOf(original, container);
    View after = viewOf(tagged, container);
    if (after.frontCover != picture)
        throw util::Exception("The cover can't be read back from the song file.");
    for (View* view : {&before, &after})
        view->properties.erase("COVERARTMIME"); // belongs to a picture in an old form
    // TagLib may find more texts after the change: it overlooks some in an old tag, which became a newer one.
    if (!after.properties.contains(before.properties))
        throw util::Exception("Writing the cover would have changed what players read in the other tags.");
    if (before.milliseconds != after.milliseconds || before.samplesPerSecond != after.samplesPerSecond ||
        before.channels != after.channels) {
        throw util::Exception("Writing the cover would have changed the properties of the sound.");
    }
}

} // namespace tags
