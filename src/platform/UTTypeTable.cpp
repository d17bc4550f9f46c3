#include "UTTypeTable.h"

#include <iterator>

namespace velk::detail {

// The identifiers follow the established reverse-DNS names so that stored queries and type trees read
// the same everywhere. Deliberate choices for this desktop:
// - office documents and EPUB are zip containers inside, but people think of them as documents, so
//   they do not conform to public.archive;
// - every disk image (ISO, raw images, DMG) conforms to com.apple.disk-image, the kind the archive
//   query asks for;
// - M4A is audio, not a movie;
// - YAML, TOML and CSS are configuration or code, so they conform to public.source-code;
// - desktop entries that launch something, and AppImages, are application bundles.
static const TypeDeclaration kTypes[] = {
    // Roots and abstract kinds
    {"public.item", "", "", "", "item"},
    {"public.content", "public.item", "", "", "content"},
    {"public.data", "public.item", "application/octet-stream", "", ""},
    {"public.directory", "public.item", "", "", "directory"},
    {"public.folder", "public.directory", "inode/directory", "", "folder"},
    {"public.volume", "public.folder", "inode/mount-point", "", "volume"},
    {"public.symlink", "public.item", "inode/symlink", "", "alias"},
    {"com.apple.package", "public.directory", "", "", "package"},
    {"com.apple.bundle", "public.directory", "", "", "bundle"},
    {"public.executable", "public.item", "", "", "executable"},
    {"com.apple.application", "public.executable", "", "", "application"},
    {"com.apple.application-bundle", "com.apple.application com.apple.bundle com.apple.package", "", "app", "application"},
    {"com.apple.framework", "com.apple.bundle com.apple.package", "", "framework", "framework"},
    {"com.apple.plugin", "com.apple.bundle com.apple.package", "", "plugin", "plug-in"},
    {"com.apple.generic-bundle", "com.apple.bundle com.apple.package", "", "bundle", "bundle"},
    {"public.unix-executable", "public.data public.executable", "application/x-executable application/x-pie-executable", "", ""},
    {"public.composite-content", "public.content", "", "", "document"},
    {"public.presentation", "public.composite-content", "", "", "presentation"},
    {"public.spreadsheet", "public.content", "", "", "spreadsheet"},
    {"public.archive", "public.data", "", "", "archive"},
    {"public.disk-image", "public.data", "", "", "disk image"},
    {"com.apple.disk-image", "public.disk-image", "", "", "disk image"},
    {"public.audiovisual-content", "public.data public.content", "", "", "media"},
    {"public.movie", "public.audiovisual-content", "", "", "movie"},
    {"public.video", "public.movie", "", "", "video"},
    {"public.audio", "public.audiovisual-content", "", "", "audio"},
    {"public.image", "public.data public.content", "", "", "image"},
    {"public.text", "public.data public.content", "", "", "text"},
    {"public.plain-text", "public.text", "text/plain", "txt text", ""},
    {"public.source-code", "public.plain-text", "", "", "source code"},
    {"public.script", "public.source-code", "", "", "script"},

    // Applications of this desktop
    {"org.freedesktop.desktop-entry", "public.data", "application/x-desktop", "", ""},
    {"org.freedesktop.desktop-application", "com.apple.application-bundle", "", "desktop", "application"},
    {"org.appimage.appimage", "com.apple.application-bundle", "application/vnd.appimage application/x-iso9660-appimage", "appimage", ""},

    // Documents
    {"com.adobe.pdf", "public.data public.composite-content", "application/pdf", "pdf", ""},
    {"com.adobe.postscript", "public.data public.composite-content", "application/postscript", "ps eps", ""},
    {"org.idpf.epub-container", "public.data public.composite-content", "application/epub+zip", "epub", ""},
    {"org.oasis-open.opendocument.text", "public.data public.composite-content", "application/vnd.oasis.opendocument.text", "odt", ""},
    {"org.oasis-open.opendocument.text-template", "public.data public.composite-content", "application/vnd.oasis.opendocument.text-template", "ott", ""},
    {"org.oasis-open.opendocument.graphics", "public.data public.composite-content", "application/vnd.oasis.opendocument.graphics", "odg", ""},
    {"org.oasis-open.opendocument.spreadsheet", "public.data public.spreadsheet", "application/vnd.oasis.opendocument.spreadsheet", "ods", ""},
    {"org.oasis-open.opendocument.presentation", "public.data public.presentation", "application/vnd.oasis.opendocument.presentation", "odp", ""},
    {"org.openxmlformats.wordprocessingml.document", "public.data public.composite-content",
        "application/vnd.openxmlformats-officedocument.wordprocessingml.document", "docx", ""},
    {"org.openxmlformats.spreadsheetml.sheet", "public.data public.spreadsheet", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", "xlsx",
        ""},
    {"org.openxmlformats.presentationml.presentation", "public.data public.presentation",
        "application/vnd.openxmlformats-officedocument.presentationml.presentation", "pptx", ""},
    {"com.microsoft.word.doc", "public.data public.composite-content", "application/msword", "doc", ""},
    {"com.microsoft.excel.xls", "public.data public.spreadsheet", "application/vnd.ms-excel", "xls", ""},
    {"com.microsoft.powerpoint.ppt", "public.data public.presentation", "application/vnd.ms-powerpoint", "ppt", ""},
    {"public.rtf", "public.text", "application/rtf text/rtf", "rtf", ""},
    {"public.html", "public.text", "text/html application/xhtml+xml", "html htm xhtml", ""},
    {"net.daringfireball.markdown", "public.plain-text", "text/markdown text/x-markdown", "md markdown", ""},
    {"public.comma-separated-values-text", "public.text", "text/csv", "csv", ""},
    {"public.tab-separated-values-text", "public.text", "text/tab-separated-values", "tsv", ""},
    {"public.log", "public.plain-text", "text/x-log", "log", ""},

    // Structured data and code
    {"public.xml", "public.text", "application/xml text/xml", "xml", ""},
    {"public.json", "public.text", "application/json", "json", ""},
    {"com.apple.property-list", "public.data", "application/x-plist application/x-bplist", "plist", "property list"},
    {"public.yaml", "public.source-code", "application/x-yaml application/yaml text/yaml", "yaml yml", ""},
    {"public.toml", "public.source-code", "application/toml", "toml", ""},
    {"public.css", "public.source-code", "text/css", "css", ""},
    {"public.c-source", "public.source-code", "text/x-csrc", "c", ""},
    {"public.c-header", "public.source-code", "text/x-chdr", "h", ""},
    {"public.c-plus-plus-source", "public.source-code", "text/x-c++src", "cpp cc cxx c++", ""},
    {"public.c-plus-plus-header", "public.source-code", "text/x-c++hdr", "hpp hh hxx h++", ""},
    {"public.objective-c-source", "public.source-code", "text/x-objcsrc", "m", ""},
    {"com.sun.java-source", "public.source-code", "text/x-java", "java", ""},
    {"public.swift-source", "public.source-code", "text/x-swift", "swift", ""},
    {"public.rust-source", "public.source-code", "text/rust text/x-rust", "rs", ""},
    {"public.go-source", "public.source-code", "text/x-go", "go", ""},
    {"public.kotlin-source", "public.source-code", "text/x-kotlin", "kt kts", ""},
    {"public.csharp-source", "public.source-code", "text/x-csharp", "cs", ""},
    {"public.make-source", "public.source-code", "text/x-makefile", "mk", ""},
    {"public.cmake-source", "public.source-code", "text/x-cmake", "cmake", ""},
    {"public.sql", "public.source-code", "application/sql text/x-sql", "sql", ""},
    {"public.qml-source", "public.source-code", "text/x-qml", "qml", ""},
    {"public.lua-script", "public.script", "text/x-lua", "lua", ""},
    {"public.shell-script", "public.script", "application/x-shellscript text/x-sh", "sh bash zsh", ""},
    {"public.python-script", "public.script", "text/x-python3 text/x-python", "py pyw", ""},
    {"com.netscape.javascript-source", "public.script", "application/javascript text/javascript application/ecmascript", "js mjs cjs", ""},
    {"com.microsoft.typescript", "public.script", "application/x-typescript text/x-typescript", "tsx", ""},
    {"public.perl-script", "public.script", "application/x-perl", "pl pm", ""},
    {"public.ruby-script", "public.script", "application/x-ruby", "rb", ""},
    {"public.php-script", "public.script", "application/x-php", "php", ""},
    {"org.jupyter.ipynb", "public.json", "application/x-ipynb+json", "ipynb", ""},

    // Pictures
    {"public.jpeg", "public.image", "image/jpeg", "jpg jpeg jpe", ""},
    {"public.png", "public.image", "image/png", "png", ""},
    {"com.compuserve.gif", "public.image", "image/gif", "gif", ""},
    {"public.tiff", "public.image", "image/tiff", "tif tiff", ""},
    {"com.microsoft.bmp", "public.image", "image/bmp", "bmp", ""},
    {"com.microsoft.ico", "public.image", "image/vnd.microsoft.icon", "ico", ""},
    {"org.webmproject.webp", "public.image", "image/webp", "webp", ""},
    {"public.heif-standard", "public.image", "image/heif image/heif-sequence", "heif", ""},
    {"public.heic", "public.heif-standard", "image/heic image/heic-sequence", "heic", ""},
    {"public.avif", "public.image", "image/avif", "avif", ""},
    {"public.svg-image", "public.image", "image/svg+xml image/svg+xml-compressed", "svg svgz", ""},
    {"com.adobe.photoshop-image", "public.image", "image/vnd.adobe.photoshop", "psd", ""},
    {"public.camera-raw-image", "public.image", "image/x-dcraw", "", "camera raw image"},
    {"com.adobe.raw-image", "public.camera-raw-image", "image/x-adobe-dng", "dng", ""},
    {"com.canon.cr2-raw-image", "public.camera-raw-image", "image/x-canon-cr2", "cr2", ""},
    {"com.canon.cr3-raw-image", "public.camera-raw-image", "image/x-canon-cr3", "cr3", ""},
    {"com.nikon.raw-image", "public.camera-raw-image", "image/x-nikon-nef", "nef", ""},
    {"com.sony.arw-raw-image", "public.camera-raw-image", "image/x-sony-arw", "arw", ""},
    {"com.fuji.raw-image", "public.camera-raw-image", "image/x-fuji-raf", "raf", ""},
    {"com.olympus.raw-image", "public.camera-raw-image", "image/x-olympus-orf", "orf", ""},
    {"com.panasonic.rw2-raw-image", "public.camera-raw-image", "image/x-panasonic-rw2", "rw2", ""},

    // Movies
    {"public.mpeg-4", "public.movie", "video/mp4", "mp4 m4v", ""},
    {"com.apple.quicktime-movie", "public.movie", "video/quicktime", "mov qt", ""},
    {"org.matroska.mkv", "public.movie", "video/x-matroska", "mkv", ""},
    {"org.webmproject.webm", "public.movie", "video/webm", "webm", ""},
    {"public.avi", "public.movie", "video/x-msvideo video/vnd.avi", "avi", ""},
    {"public.mpeg-2-transport-stream", "public.movie", "video/mp2t", "ts m2ts mts", ""},
    {"public.mpeg", "public.movie", "video/mpeg", "mpg mpeg", ""},
    {"public.3gpp", "public.movie", "video/3gpp", "3gp", ""},
    {"com.microsoft.windows-media-wmv", "public.movie", "video/x-ms-wmv", "wmv", ""},
    {"org.xiph.ogv", "public.movie", "video/ogg video/x-theora+ogg", "ogv", ""},
    {"com.adobe.flash.video", "public.movie", "video/x-flv", "flv", ""},

    // Audio
    {"public.mp3", "public.audio", "audio/mpeg", "mp3", ""},
    {"public.mpeg-4-audio", "public.audio", "audio/mp4 audio/x-m4b", "m4a m4b", ""},
    {"public.aac-audio", "public.audio", "audio/aac", "aac", ""},
    {"org.xiph.flac", "public.audio", "audio/flac audio/x-flac+ogg", "flac", ""},
    {"com.microsoft.waveform-audio", "public.audio", "audio/x-wav", "wav", ""},
    {"org.xiph.ogg-audio", "public.audio", "audio/x-vorbis+ogg audio/ogg audio/x-speex+ogg", "ogg oga", ""},
    {"org.xiph.opus", "public.audio", "audio/x-opus+ogg", "opus", ""},
    {"public.aiff-audio", "public.audio", "audio/x-aiff", "aiff aif", ""},
    {"com.microsoft.windows-media-wma", "public.audio", "audio/x-ms-wma", "wma", ""},
    {"public.midi-audio", "public.audio", "audio/midi", "mid midi", ""},

    // Archives and disk images
    {"public.zip-archive", "public.archive", "application/zip", "zip", ""},
    {"public.tar-archive", "public.archive", "application/x-tar", "tar", ""},
    {"org.gnu.gnu-zip-archive", "public.archive", "application/gzip", "gz", ""},
    {"org.gnu.gnu-zip-tar-archive", "public.archive", "application/x-compressed-tar", "tgz", ""},
    {"public.bzip2-archive", "public.archive", "application/x-bzip application/x-bzip-compressed-tar", "bz2 tbz2", ""},
    {"org.tukaani.xz-archive", "public.archive", "application/x-xz application/x-xz-compressed-tar", "xz txz", ""},
    {"public.zstd-archive", "public.archive", "application/zstd application/x-zstd-compressed-tar", "zst", ""},
    {"org.7-zip.7-zip-archive", "public.archive", "application/x-7z-compressed", "7z", ""},
    {"com.rarlab.rar-archive", "public.archive", "application/vnd.rar", "rar", ""},
    {"com.sun.java-archive", "public.zip-archive", "application/x-java-archive", "jar", ""},
    {"org.debian.deb-archive", "public.archive", "application/vnd.debian.binary-package", "deb", ""},
    {"com.redhat.rpm-archive", "public.archive", "application/x-rpm", "rpm", ""},
    {"io.snapcraft.snap", "public.archive", "application/vnd.snap", "snap", ""},
    {"com.apple.installer-package-archive", "public.archive", "application/x-xar", "pkg mpkg", ""},
    {"org.flatpak.ref", "public.data", "application/vnd.flatpak.ref", "flatpakref", ""},
    {"com.apple.disk-image-udif", "com.apple.disk-image", "application/x-apple-diskimage", "dmg", ""},
    {"public.iso-image", "com.apple.disk-image", "application/x-cd-image", "iso", ""},
    {"public.raw-disk-image", "com.apple.disk-image", "application/x-raw-disk-image", "img", ""},
    {"org.qemu.qcow2-image", "com.apple.disk-image", "application/x-qemu-disk", "qcow2", ""},

    // Fonts
    {"public.font", "public.data public.content", "", "", "font"},
    {"public.truetype-ttf-font", "public.font", "font/ttf application/x-font-ttf", "ttf", ""},
    {"public.opentype-font", "public.font", "font/otf application/x-font-otf", "otf", ""},
};

const TypeDeclaration *typeDeclarations(int *count)
{
    *count = int(std::size(kTypes));
    return kTypes;
}

} // namespace velk::detail
