// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// Answers in the services' formats, shortened to the fields that matter. All names are made up.

namespace tests::answers {

inline const std::string musicBrainzReleases =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<metadata created="2026-09-06T10:58:02.101Z" xmlns="http://musicbrainz.org/ns/mmd-2.0#" xmlns:ns2="http://musicbrainz.org/ns/ext#-2.0"><release-list count="1" offset="0"><release id="2f9b8d10-64c2-4a55-8e1c-3d5a6b7c2001" ns2:score="100"><title>Paper Lanterns</title><status id="4e304316-386d-3409-af2e-78857eec5cfe">Official</status><artist-credit id="5d7f3a10-8f0b-3c52-9f43-0a6f5be41001"><name-credit joinphrase=" &amp; "><artist id="7c1f5a52-3d0e-4b86-9a77-2f6f0c4d1001"><name>Lowbeam</name></artist></name-credit><name-credit><name>A. Vinter</name><artist id="7c1f5a52-3d0e-4b86-9a77-2f6f0c4d1002"><name>Ada Vinter</name></artist></name-credit></artist-credit><release-group id="3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001" type="Album"><title>Paper Lanterns</title><primary-type>Album</primary-type></release-group><date>2004-05-17</date><country>GB</country></release></release-list></metadata>)";

inline const std::string musicBrainzRecordings =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<metadata xmlns="http://musicbrainz.org/ns/mmd-2.0#" xmlns:ns2="http://musicbrainz.org/ns/ext#-2.0"><recording-list count="2" offset="0"><recording id="1b0c6f6e-52a4-4a31-9d0e-6f2b7a3c1001" ns2:score="100"><title>Quiet Harbour</title><artist-credit><name-credit><name>Lowbeam</name><artist id="7c1f5a52-3d0e-4b86-9a77-2f6f0c4d1001"><name>Lowbeam</name></artist></name-credit></artist-credit><first-release-date>2004-05-17</first-release-date><release-list>
<release id="2f9b8d10-64c2-4a55-8e1c-3d5a6b7c2002"><title>Paper Lanterns</title><status>Promotion</status><release-group id="3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001"><primary-type>EP</primary-type></release-group><date>2014</date><medium-list count="2"><medium><track-list><track><title>Another Title</title></track></track-list></medium></medium-list></release>
<release id="2f9b8d10-64c2-4a55-8e1c-3d5a6b7c2003"><title>Slow Tides</title><status>Official</status><artist-credit><name-credit><name>V.A.</name><artist id="89ad4ac3-39f7-470e-963a-56509c546377"><name>Various Artists</name></artist></name-credit></artist-credit><release-group id="3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3002"><primary-type>Album</primary-type><secondary-type-list><secondary-type>Live</secondary-type><secondary-type>Compilation</secondary-type></secondary-type-list></release-group><date>2006-11</date></release></release-list></recording>
<recording id="1b0c6f6e-52a4-4a31-9d0e-6f2b7a3c1002"><title>Quiet Harbour (Oslo)</title><artist-credit><name-credit joinphrase=" feat. "><name>Lowbeam</name></name-credit><name-credit><name>Ada Vinter</name></name-credit></artist-credit><release-list><release id="2F9B8D10-64C2-4A55-8E1C-3D5A6B7C2004"><title>Oslo</title><status>Bootleg</status><release-group id="x"><primary-type>Album</primary-type><secondary-type-list><secondary-type>Demo</secondary-type></secondary-type-list></release-group><date/></release></release-list></recording></recording-list></metadata>)";

inline const std::string musicBrainzNothing =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><metadata created="2026-09-06T10:57:34.794Z" xmlns="http://musicbrainz.org/ns/mmd-2.0#" xmlns:ns2="http://musicbrainz.org/ns/ext#-2.0"><recording-list count="0" offset="0"/></metadata>)";

inline const std::string coverArtArchive =
    R"({"images":[{"approved":true,"back":true,"front":false,"id":12345678902,"image":"https://coverartarchive.org/release/r/12345678902.png","thumbnails":{"250":"https://coverartarchive.org/release/r/12345678902-250.jpg"},"types":["Back","Spine"]},{"approved":true,"back":false,"comment":"","edit":90000001,"front":true,"id":"12345678901","image":"http://coverartarchive.org/release/r/12345678901.jpg","thumbnails":{"1200":"http://coverartarchive.org/release/r/12345678901-1200.jpg","250":"http://coverartarchive.org/release/r/12345678901-250.jpg","500":"http://coverartarchive.org/release/r/12345678901-500.jpg","large":"http://coverartarchive.org/release/r/12345678901-500.jpg","small":"http://coverartarchive.org/release/r/12345678901-250.jpg"},"types":["Front"]}],"release":"https://musicbrainz.org/release/r"})";

inline const std::string itunesAlbums =
    "\n\n\n"
    R"({"resultCount":2,"results":[{"wrapperType":"collection","collectionType":"Album","artistId":900000001,"collectionId":1000000001,"artistName":"Lowbeam","collectionName":"Paper Lanterns","collectionViewUrl":"https://music.test/gb/album/paper-lanterns/1000000001?uo=4","artworkUrl60":"https://is1.test/image/cover.jpg/60x60bb.jpg","artworkUrl100":"https://is1.test/image/cover.jpg/100x100bb.jpg","trackCount":11,"releaseDate":"2004-05-17T07:00:00Z"},{"wrapperType":"collection","collectionId":1000000002,"artistName":"Lowbeam","collectionName":"Quiet Harbour - EP","artworkUrl100":"https://is1.test/image/other.png"}]})";

inline const std::string itunesSongs =
    R"({"resultCount":1,"results":[{"wrapperType":"track","kind":"song","collectionId":1000000003,"artistName":"Lowbeam","collectionArtistName":"Various Artists","collectionName":"Slow Tides","trackName":"Quiet Harbour","artworkUrl100":"https://is1.test/c.jpg/100x100bb.jpg","releaseDate":"2006-11-01T07:00:00Z"}]})";

inline const std::string deezerAlbums =
    R"({"data":[{"id":301,"title":"Paper Lanterns","link":"https://www.deezer.test/album/301","cover":"https://api.deezer.test/album/301/image","cover_small":"https://cdn.test/images/cover/aa/56x56.jpg","cover_medium":"https://cdn.test/images/cover/aa/250x250.jpg","cover_big":"https://cdn.test/images/cover/aa/500x500.jpg","cover_xl":"https://cdn.test/images/cover/aa/1000x1000.jpg","md5_image":"aa","record_type":"ep","artist":{"id":7,"name":"Lowbeam","type":"artist"},"type":"album"},{"id":302,"title":"Bare","cover_medium":"https://cdn.test/images/cover//250x250.jpg","cover_big":"https://cdn.test/images/cover//500x500.jpg","cover_xl":"https://cdn.test/images/cover//1000x1000.jpg","record_type":"album","artist":{"name":"Various Artists"}}],"total":2})";

inline const std::string deezerTracks =
    R"({"data":[{"id":9,"title":"Quiet Harbour","link":"https://www.deezer.test/track/9","artist":{"id":7,"name":"Lowbeam"},"album":{"id":301,"title":"Paper Lanterns","cover_medium":"https://cdn.test/images/cover/aa/250x250.jpg","cover_big":"https://cdn.test/images/cover/aa/500x500.jpg"},"type":"track"}],"total":1})";

inline const std::string lastFmAlbum =
    R"({"album":{"artist":"Lowbeam","name":"Paper Lanterns","mbid":"2f9b8d10-64c2-4a55-8e1c-3d5a6b7c2001","url":"https://www.last.test/music/Lowbeam/Paper+Lanterns","image":[{"size":"small","#text":"https://l.test/i/u/34s/0123.png"},{"size":"large","#text":"https://l.test/i/u/174s/0123.png"},{"size":"extralarge","#text":"https://l.test/i/u/300x300/0123.png"},{"size":"","#text":""}]}})";

inline const std::string lastFmTrack =
    R"({"track":{"name":"Quiet Harbour","artist":{"name":"Lowbeam"},"album":{"artist":"Lowbeam","title":"Paper Lanterns","url":"https://www.last.test/p","image":[{"#text":"https://l.test/i/u/300x300/2a96cbd8b46e442fc41c2b86b821562f.png","size":"extralarge"}]}}})";

inline const std::string lastFmSearch =
    R"({"results":{"opensearch:totalResults":"1","albummatches":{"album":[{"name":"Slow Tides","artist":"Various Artists","url":"https://www.last.test/s","image":[{"#text":"https://l.test/i/u/300x300/9.png","size":"extralarge"}],"mbid":""}]}}})";

inline const std::string audioDb =
    R"({"album":[{"idAlbum":"2100001","strAlbum":"Paper Lanterns","strArtist":"Lowbeam","intYearReleased":"2004","strReleaseFormat":"Album","strAlbumThumb":"https://r2.test/images/x.jpg","strAlbumThumbHQ":null,"strMusicBrainzID":"3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001"}]})";

inline const std::string discogs =
    R"({"pagination":{"items":2},"results":[{"id":1,"type":"release","master_id":2,"title":"Lowbeam* - Paper Lanterns - Live","year":"2004","format":["CD","Single","Promo"],"thumb":"https://i.test/h:150/a.jpeg","cover_image":"https://i.test/h:600/a.jpeg"},{"id":3,"type":"release","title":"Various - Slow Tides","format":["Vinyl","Album"],"thumb":"","cover_image":"https://st.test/images/spacer.gif"},{"id":4,"type":"release","title":"Lowbeam (2) - Oslo","format":["CDr","Unofficial Release"]},{"id":5,"type":"master","title":"Untitled"}]})";

inline const std::string fanartTv =
    R"({"name":"Lowbeam","mbid_id":"7c1f5a52-3d0e-4b86-9a77-2f6f0c4d1001","albums":{"3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001":{"albumcover":[{"id":"100001","url":"https://assets.test/fanart/music/a/albumcover/p.jpg","likes":"2"},{"id":"100002","url":"https://assets.test/q.jpg","likes":"0"}],"cdart":[]}}})";

inline const std::string fanartTvNewer =
    R"({"name":"Lowbeam","albums":[{"release_group_id":"3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001","albumcover":[{"url":"https://assets.test/fanart/p.jpg"}]}]})";

inline const std::string amazon =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<ItemSearchResponse xmlns="http://webservices.amazon.com/AWSECommerceService/2013-08-01"><Items><Request><IsValid>True</IsValid></Request><TotalResults>1</TotalResults><Item><ASIN>B000000001</ASIN><DetailPageURL>http://www.amazon.test/dp/B000000001</DetailPageURL><SmallImage><URL>http://ecx.test/images/I/51a._SL75_.jpg</URL><Height Units="pixels">75</Height><Width Units="pixels">75</Width></SmallImage><MediumImage><URL>http://ecx.test/images/I/51a._SL160_.jpg</URL><Height Units="pixels">160</Height><Width Units="pixels">160</Width></MediumImage><LargeImage><URL>http://ecx.test/images/I/51a.jpg</URL><Height Units="pixels">500</Height><Width Units="pixels">498</Width></LargeImage><ItemAttributes><Artist>Lowbeam</Artist><Artist>Ada Vinter</Artist><Title>Paper Lanterns</Title></ItemAttributes></Item></Items></ItemSearchResponse>)";

inline const std::string amazonNothing =
    R"(<ItemSearchResponse xmlns="http://webservices.amazon.com/AWSECommerceService/2013-08-01"><Items><Request><IsValid>True</IsValid><Errors><Error><Code>AWS.ECommerceService.NoExactMatches</Code><Message>We did not find any matches for your request.</Message></Error></Errors></Request></Items></ItemSearchResponse>)";

} // namespace tests::answers
