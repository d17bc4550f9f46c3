// Word lists and the makers of lifelike file and folder names.
#pragma once

#include "Random.h"

#include <cstdint>
#include <string>

namespace genhome {

using std::string;

inline const char *const kWords[] = {"report", "notes", "minutes", "budget", "plan", "proposal", "summary", "draft", "letter", "contract", "application",
    "schedule", "checklist", "review", "analysis", "overview", "agenda", "estimate", "inventory", "quote", "statement", "form", "slides", "handout", "outline",
    "brief", "memo", "itinerary", "timeline", "results"};
inline const char *const kTopics[] = {"marketing", "garden", "kitchen", "car", "insurance", "holiday", "wedding", "school", "team", "project", "quarterly",
    "annual", "tax", "rent", "health", "bike", "moving", "birthday", "conference", "training", "pension", "mortgage", "solar", "roof", "client", "sales",
    "hiring", "launch", "research", "travel"};
inline const char *const kFolders[] = {"Work", "Personal", "Archive", "Old", "Misc", "Clients", "Admin", "Drafts", "Shared", "Scans", "Planning", "Reference",
    "Meetings", "Reports", "Contracts", "Letters", "Forms", "Insurance", "Health", "Car", "House", "School", "Recipes", "Travel"};
inline const char *const kCodeDirs[]
    = {"core", "util", "net", "ui", "models", "views", "components", "services", "api", "internal", "parser", "render", "io", "common", "widgets", "hooks",
        "store", "storage", "config", "platform", "db", "auth", "cli", "search", "index", "cache", "codec", "jobs", "events", "layout"};
inline const char *const kCodeWords[] = {"Parser", "Index", "Store", "Widget", "Model", "Query", "Token", "Buffer", "Cache", "Session", "Window", "Config",
    "Logger", "Renderer", "Scanner", "Worker", "Path", "Util", "Codec", "Stream", "Request", "Router", "Handler", "Client", "Server", "Table", "Schema",
    "Event", "Timer", "Pool", "Reader", "Writer", "Matcher", "Loader", "Builder", "Layout", "Theme", "Font", "Image", "Graph"};
inline const char *const kProjects[] = {"aurora", "budget-tracker", "dotfiles", "pixel-forge", "weather-cli", "thesis", "homepage", "kestrel", "lumen",
    "photo-sorter", "chess-engine", "recipe-box", "tidepool", "raytracer", "garden-planner", "invoice-tool", "markdown-notes", "synth", "trail-map", "blog",
    "tiny-http", "pathfinder", "mosaic", "quill", "harbor", "ember", "sketchbook", "orbit", "lantern", "wavelet"};
inline const char *const kNpm[] = {"react", "react-dom", "lodash", "express", "chalk", "debug", "ms", "semver", "commander", "yargs", "glob", "minimatch",
    "rimraf", "uuid", "axios", "eslint", "prettier", "typescript", "webpack", "@babel/core", "@babel/parser", "@babel/types", "@types/node", "@types/react",
    "jest", "vite", "esbuild", "postcss", "tslib", "rxjs", "dayjs", "classnames", "prop-types", "scheduler", "loose-envify", "js-tokens", "picocolors",
    "nanoid", "source-map", "acorn", "ajv", "browserslist", "graceful-fs", "inherits", "once", "wrappy", "supports-color", "has-flag", "color-convert",
    "color-name", "ansi-styles", "strip-ansi", "ansi-regex", "resolve", "path-parse", "is-core-module"};
inline const char *const kPip[] = {"numpy", "requests", "urllib3", "idna", "certifi", "charset_normalizer", "pip", "setuptools", "click", "jinja2",
    "markupsafe", "flask", "werkzeug", "pytest", "pluggy", "attrs", "six", "dateutil", "yaml", "pandas", "pytz", "tqdm", "rich", "pygments", "packaging",
    "iniconfig", "itsdangerous", "blinker", "wheel", "tomli"};
inline const char *const kEvents[] = {"Holiday", "Birthday", "Beach", "Hiking", "Wedding", "Christmas", "Garden", "Concert", "Road trip", "Paris", "Lisbon",
    "Berlin", "Zoo", "First snow", "Graduation", "BBQ", "Camping", "Kyoto", "Lake", "Museum", "Sailing", "New Year", "Market", "Mountains"};
inline const char *const kArtists[] = {"The Velvet Foxes", "Nora Lind", "Paper Lanterns", "Kasimir", "Blue Harbour", "Mira & the Moths", "Static Bloom",
    "Orchestra Nova", "DJ Tamarind", "Hollow Pines", "Elena Varga", "Northbound", "The Quiet Hours", "Sunday Engine", "Low Tide Club", "Ava Brightwater",
    "Copper Kites", "Nightjar", "Iris Moreau", "Glasshouse"};
inline const char *const kSongWords[]
    = {"Midnight", "River", "Gold", "Summer", "Echo", "Paper", "Heart", "Wires", "Ocean", "Slow", "Dancing", "Ghost", "Light", "City", "Morning", "Fire",
        "Home", "Stars", "Blue", "Rain", "Silver", "Wild", "Dreams", "Winter", "Road", "Falling", "Neon", "Garden", "Tonight", "Forever"};
inline const char *const kApps[] = {"Notely", "PixelPaint", "Tuner", "Inkwell", "Beacon", "Hexview", "Scribe", "Waveform", "Orbitchat", "Ledgerly"};

// Formats t (seconds since 1970, UTC) with strftime's `format`.
string stamp(int64_t t, const char *format);
string capital(string s);
string lower(string s);
// `words` song words separated by spaces.
string title(Rng &r, int words);
// A version number such as "2.14.3".
string version(Rng &r);
// A document name as people save them; t is the file's date.
string docName(Rng &r, int64_t t);

} // namespace genhome
