# SPDX-License-Identifier: MIT
"""Answers of all services except MusicBrainz, from the catalogue.

Each function takes the base URL of all stand-ins, the path after the service's prefix, the parameters and the headers. It returns
status, body and headers.
"""

import base64
import functools
import hashlib
import hmac
import io
import json
import re
import urllib.parse
from xml.sax.saxutils import escape

from catalogue import VARIOUS_ARTISTS, catalogue, words
from PIL import Image, ImageDraw

KEYS = {"lastfm": "lastfm-key", "audiodb": "123", "discogs": "discogs-token", "fanarttv": "fanart-key", "amazon": "amazon-key"}
AMAZON_SECRET = "1234567890"
AMAZON_TAG = "tag-20"
_STAR = "2a96cbd8b46e442fc41c2b86b821562f"  # Last.fm's placeholder for a missing picture
_UUID = re.compile("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")
_PICTURE_SERVICES = ("archive-node", "itunes-art", "deezer-cdn", "lastfm-cdn", "audiodb-cdn", "discogs-cdn", "fanarttv-cdn", "amazon-cdn")


def _json(content, status=200, content_type="application/json"):
    return status, json.dumps(content, ensure_ascii=False).encode(), {"Content-Type": content_type}


def _html(status, text):
    return status, f"<!doctype html>\n<html><title>{status}</title><p>{escape(text)}</p></html>".encode(), {
        "Content-Type": "text/html; charset=utf-8"}


def _to(status, url):
    return status, f"See: {url}\n".encode(), {"Location": url, "Content-Type": "text/plain"}


def _number_of(release):
    """The release's id for services with numbers as ids. It needs more than 32 bits, like real ones."""
    return 10 ** 10 + int(release.id[:8], 16)


@functools.lru_cache(maxsize=64)
def picture(release_id, side):
    """The cover of a release as JPEG. Every release has a different colour and pattern."""
    digest = hashlib.sha256(release_id.encode()).digest()
    image = Image.new("RGB", (side, side), tuple(digest[:3]))
    draw = ImageDraw.Draw(image)
    for i in range(4):
        left, top = digest[4 + i] * side // 512, digest[8 + i] * side // 512
        draw.rectangle((left, top, left + side // 4, top + side // 4), fill=tuple(digest[12 + 3 * i:15 + 3 * i]))
    out = io.BytesIO()
    image.save(out, "JPEG", quality=60)
    return out.getvalue()


def pictures(base, path, parameters, headers):
    """Answers /RELEASE/SIDE with any suffix. The picture is never larger than the cover."""
    release_id, side = re.match(rf"/({_UUID.pattern})/(\d+)", path).group(1, 3)
    release = catalogue().releases.get(release_id)
    if not release or not release.cover:
        return _html(404, "Not Found")
    return 200, picture(release_id, min(int(side), release.cover)), {"Content-Type": "image/jpeg"}


def cover_art_archive(base, path, parameters, headers):
    archive = f"{base}/archive/download"
    kind, _, rest = path.lstrip("/").partition("/")
    identifier, _, rest = rest.partition("/")
    if kind not in ("release", "release-group"):
        return _html(400, "Only the following entities are supported: release, release-group")
    if not _UUID.fullmatch(identifier):
        return _html(400, "invalid MBID specified")
    group = catalogue().groups.get(identifier)
    release = catalogue().releases.get(identifier) if kind == "release" else group and group.pictured
    if not release or not release.cover:
        return _html(404, f"No cover art found for {kind} {identifier}")
    item = f"{archive}/mbid-{release.id}"
    if not rest:
        return _to(307, f"{item}/index.json")
    size = re.fullmatch(r"(?:front|\d+)(?:-(250|500|1200))?(?:\.jpg)?", rest)
    if not size:
        return _html(404, "cover image not found")
    thumbnail = f"_thumb{size.group(1)}" if size.group(1) else ""
    return _to(307, f"{item}/mbid-{release.id}-{_number_of(release)}{thumbnail}.jpg")


def archive(base, path, parameters, headers):
    """archive.org: redirects to one of its nodes, or delivers the index there."""
    match = re.fullmatch(rf"/(download|items)/mbid-({_UUID.pattern})/(.*)", path)
    release = match and catalogue().releases.get(match.group(2))
    if not release or not release.cover:
        return _html(404, "Item not available")
    place, file = match.group(1, 4)
    size = re.search(r"_thumb(\d+)\.jpg$", file)
    if place == "items":
        return _archive_index(base, release)
    if file == "index.json":
        return _to(302, f"{base}/archive/items/mbid-{release.id}/index.json")
    return _to(302, f"{base}/archive-node/{release.id}/{size.group(1) if size else release.cover}/front.jpg")


def _archive_index(base, release):
    number = _number_of(release)
    here = f"{base}/coverartarchive/release/{release.id}/{number}"
    sizes = {"250": 250, "500": 500, "1200": 1200, "large": 500, "small": 250}
    image = {"approved": True, "back": False, "comment": "", "edit": 90000001, "front": True, "id": number, "image": f"{here}.jpg",
             "thumbnails": {name: f"{here}-{size}.jpg" for name, size in sizes.items()}, "types": ["Front"]}
    back = image | {"back": True, "front": False, "id": str(number + 1), "types": ["Back"]}
    return _json({"images": [back, image], "release": f"https://musicbrainz.org/release/{release.id}"})


def _limit(parameters, default):
    text = parameters.get("limit", "")
    return int(text) if text.isdigit() else default


def _shop_title(release):
    kind = {"Single": " - Single", "EP": " - EP"}.get(release.group.primary, "")
    return release.title + kind


def itunes(base, path, parameters, headers):
    if path != "/search" or not parameters.get("term"):
        return _json({"errorMessage": "Invalid value(s) for key(s): [term]"}, 400)
    if parameters.get("entity") == "song":
        found = [(release, track) for release, track in catalogue().find_tracks(parameters["term"])]
    else:
        found = [(release, None) for release in catalogue().find_albums(parameters["term"])]
    results = [_itunes_result(base, *hit) for hit in found[:_limit(parameters, 50)]]
    status, body, _ = _json({"resultCount": len(results), "results": results})
    return status, b"\n\n\n" + body, {"Content-Type": "text/javascript; charset=utf-8", "Cache-Control": "max-age=86400"}


def _itunes_result(base, release, track):
    art = f"{base}/itunes-art/{release.id}"
    number = _number_of(release)
    page = f"https://music.example/gb/album/{number}?uo=4"
    result = {"wrapperType": "collection", "collectionType": "Album", "collectionId": number, "artistName": release.artist,
              "collectionName": _shop_title(release), "collectionCensoredName": _shop_title(release), "collectionViewUrl": page,
              "trackCount": len(release.tracks), "releaseDate": f"{release.date[:4]}-01-01T07:00:00Z", "country": "GBR"}
    if track:
        result |= {"wrapperType": "track", "kind": "song", "artistName": track.artist, "trackName": track.title,
                   "trackTimeMillis": 254000}
        result |= {"collectionArtistName": release.artist} if track.artist != release.artist else {}
    if release.cover:
        result |= {f"artworkUrl{side}": f"{art}/{side}x{side}bb.jpg" for side in (60, 100)}
    return result


def deezer(base, path, parameters, headers):
    if path not in ("/search", "/search/album"):
        return _json({"error": {"type": "DataException", "message": "no data", "code": 800}})
    query, limit = parameters.get("q", ""), min(_limit(parameters, 25), 100)
    if path == "/search/album":
        results = [_deezer_album(base, release) for release in catalogue().find_albums(query)]
    else:
        results = [{"id": _number_of(release), "title": track.title, "title_short": track.title, "type": "track",
                    "link": f"https://deezer.example/track/{_number_of(release)}",
                    "artist": {"id": 1, "name": track.artist, "type": "artist"}, "album": _deezer_album(base, release)}
                   for release, track in catalogue().find_tracks(query)]
    return _json({"data": results[:limit], "total": len(results)})


def _deezer_album(base, release):
    kinds = {"Single": "single", "EP": "ep"}
    kind = "compile" if "Compilation" in release.group.secondary else kinds.get(release.group.primary, "album")
    art = f"{base}/deezer-cdn/{release.id}"
    number = _number_of(release)
    sides = {"small": 56, "medium": 250, "big": 500, "xl": 1000}
    covers = {f"cover_{name}": f"{art}/{side}x{side}-000000-80-0-0.jpg" for name, side in sides.items()}
    if not release.cover:
        covers = {f"cover_{name}": f"{base}/deezer-cdn/images/cover//{side}x{side}-000000-80-0-0.jpg" for name, side in sides.items()}
    return {"id": number, "title": release.title, "link": f"https://deezer.example/album/{number}", **covers,
            "md5_image": hashlib.md5(release.id.encode()).hexdigest() if release.cover else "", "genre_id": 106,
            "nb_tracks": len(release.tracks), "record_type": kind, "explicit_lyrics": False,
            "artist": {"id": 1, "name": release.artist}, "type": "album"}


def last_fm(base, path, parameters, headers):
    if parameters.get("api_key") != KEYS["lastfm"]:
        return _json({"error": 10, "message": "Invalid API key - You must be granted a valid key by last.fm"}, 403)
    artist = parameters.get("artist", "")
    if parameters.get("method") == "track.getInfo":
        hits = [(release, track) for release in catalogue().shop_releases for track in release.tracks
                if words(track.title) == words(parameters.get("track", "")) and words(track.artist) == words(artist)]
        if not hits:
            return _json({"error": 6, "message": "Track not found"})
        album = _last_fm_album(base, hits[0][0])
        return _json({"track": {"name": hits[0][1].title, "artist": {"name": artist},
                                "album": {**album, "title": album["name"]}}})
    found = catalogue().named(artist, parameters.get("album", ""))
    return _json({"album": _last_fm_album(base, found[0])} if found else {"error": 6, "message": "Album not found"})


def _last_fm_album(base, release):
    path = f"{release.id}/300x300.png" if release.cover else f"i/u/300x300/{_STAR}.png"
    sizes = ("small", "medium", "large", "extralarge", "mega")
    return {"artist": release.artist, "name": release.title, "mbid": release.id, "url": f"https://last.example/music/{release.id}",
            "image": [{"size": size, "#text": f"{base}/lastfm-cdn/{path}"} for size in sizes]}


def audio_db(base, path, parameters, headers):
    match = re.fullmatch(r"/api/v1/json/([^/]+)/(searchalbum|album-mb)\.php", path)
    if not match or match.group(1) != KEYS["audiodb"]:
        return _html(404, "Not Found")
    if match.group(2) == "album-mb":
        group = catalogue().groups.get(parameters.get("i"))
        found = group.releases[:1] if group else []
    else:
        found = catalogue().named(parameters.get("s", ""), parameters.get("a", ""))
    return _json({"album": [_audio_db_album(base, release) for release in found] or None})


def _audio_db_album(base, release):
    return {"idAlbum": str(_number_of(release)), "strAlbum": release.title, "strArtist": release.artist,
            "intYearReleased": release.date[:4], "strReleaseFormat": release.group.type,
            "strAlbumThumb": f"{base}/audiodb-cdn/{release.id}/700.jpg" if release.cover else None, "strAlbumThumbHQ": None,
            "strAlbumBack": None, "strMusicBrainzID": release.group.id,
            "strMusicBrainzArtistID": catalogue().artist_id(release.artist)}


def discogs(base, path, parameters, headers):
    if not headers.get("User-Agent"):
        return _html(403, "Forbidden")
    if headers.get("Authorization") != f"Discogs token={KEYS['discogs']}":
        return _json({"message": "You must authenticate to access this resource."}, 401)
    if path != "/database/search":
        return _json({"message": "The requested resource was not found."}, 404)
    wanted = " ".join(parameters.get(name, "") for name in ("artist", "release_title", "q"))
    found = catalogue().find_tracks(f"{wanted} {parameters['track']}") if "track" in parameters else [
        (release, None) for release in catalogue().find_albums(wanted)]
    results = [_discogs_result(base, release) for release, _ in found]
    status, body, headers = _json({"pagination": {"page": 1, "pages": 1, "items": len(results)}, "results": results})
    return status, body, headers | {"X-Discogs-Ratelimit": "60", "X-Discogs-Ratelimit-Remaining": "59"}


def _discogs_result(base, release):
    artist = "Various" if release.artist == VARIOUS_ARTISTS else release.artist
    number = _number_of(release)
    art = f"{base}/discogs-cdn/{release.id}"
    formats = ["CD", "Compilation" if "Compilation" in release.group.secondary else release.group.primary]
    cover = (f"{art}/150/x.jpeg", f"{art}/600/x.jpeg") if release.cover else (f"{base}/discogs-cdn/spacer.gif",) * 2
    return {"id": number, "type": "release", "master_id": number, "title": f"{artist} - {release.title}", "year": release.date[:4],
            "country": release.country, "format": formats, "thumb": cover[0], "cover_image": cover[1],
            "uri": f"/release/{number}", "resource_url": f"{base}/discogs/releases/{number}"}


def fanart_tv(base, path, parameters, headers):
    if KEYS["fanarttv"] not in (parameters.get("api_key"), headers.get("api-key")):
        return _json({"status": "error", "error message": "Invalid API key"}, 401)
    match = re.fullmatch(r"/v3/music/albums/([^/]+)", path)
    group = match and catalogue().groups.get(match.group(1))
    if not group or not group.pictured:
        return _json({"status": "error", "error message": "Not found"}, 404)
    cover = {"id": "100001", "url": f"{base}/fanarttv-cdn/{group.pictured.id}/1000/fanart/x.jpg", "likes": "2"}
    return _json({"name": group.artist, "mbid_id": catalogue().artist_id(group.artist), "albums": {group.id: {"albumcover": [cover]}}})


def amazon(base, path, parameters, headers):
    if path != "/onca/xml" or parameters.get("AWSAccessKeyId") != KEYS["amazon"] or not _is_signed(parameters, headers):
        return 403, (b'<?xml version="1.0"?><ItemSearchErrorResponse xmlns="http://ecs.amazonaws.com/doc/2009-01-06/"><Error>'
                     b"<Code>SignatureDoesNotMatch</Code><Message>The request signature we calculated does not match.</Message>"
                     b"</Error></ItemSearchErrorResponse>"), {"Content-Type": "text/xml"}
    wanted = " ".join(parameters.get(name, "") for name in ("Artist", "Title", "Keywords"))
    found = catalogue().find_albums(wanted)[:10]
    items = "".join(_amazon_item(base, release) for release in found)
    errors = "" if found else ("<Errors><Error><Code>AWS.ECommerceService.NoExactMatches</Code><Message>We did not find any matches "
                               "for your request.</Message></Error></Errors>")
    return 200, ('<?xml version="1.0" encoding="UTF-8"?>\n<ItemSearchResponse '
                 'xmlns="http://webservices.amazon.com/AWSECommerceService/2013-08-01"><Items><Request><IsValid>True</IsValid>'
                 f"{errors}</Request><TotalResults>{len(found)}</TotalResults><TotalPages>1</TotalPages>{items}</Items>"
                 "</ItemSearchResponse>").encode(), {"Content-Type": "text/xml;charset=UTF-8"}


def _is_signed(parameters, headers):
    """True if the signature fits these parameters. It may include the prefix and the port of a stand-in."""
    quote = functools.partial(urllib.parse.quote, safe="-_.~")
    joined = "&".join(f"{quote(name)}={quote(value)}" for name, value in sorted(parameters.items()) if name != "Signature")
    host = headers.get("Host", "").lower()
    valid = [base64.b64encode(hmac.new(AMAZON_SECRET.encode(), f"GET\n{name}\n{path}\n{joined}".encode(), hashlib.sha256).digest())
             for name in (host, host.partition(":")[0]) for path in ("/onca/xml", "/amazon/onca/xml")]
    return parameters.get("Signature", "").encode() in valid


def _amazon_item(base, release):
    number = f"B{_number_of(release) % 10 ** 9:09}"
    sizes = {"SmallImage": 75, "MediumImage": 160, "LargeImage": 500}
    images = "".join(
        f"<{name}><URL>{base}/amazon-cdn/{release.id}/{side}.jpg</URL><Height Units=\"pixels\">{side}</Height>"
        f"<Width Units=\"pixels\">{side}</Width></{name}>" for name, side in sizes.items()) if release.cover else ""
    return (f"<Item><ASIN>{number}</ASIN><DetailPageURL>http://amazon.example/dp/{number}</DetailPageURL>{images}<ItemAttributes>"
            f"<Artist>{escape(release.artist)}</Artist><Binding>Audio CD</Binding><ProductGroup>Music</ProductGroup>"
            f"<Title>{escape(release.title)}</Title></ItemAttributes></Item>")


SERVICES = {"coverartarchive": cover_art_archive, "archive": archive, "itunes": itunes, "deezer": deezer, "lastfm": last_fm,
            "audiodb": audio_db, "discogs": discogs, "fanarttv": fanart_tv, "amazon": amazon,
            **{name: pictures for name in _PICTURE_SERVICES}}
