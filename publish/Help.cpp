// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Help.h"

QString HelpText()
{
    return QStringLiteral(R"(Usage:
  publish_update --version VERSION --min-version VERSION --download-url URL
                 [OPTION...] RELEASE_DIR OUTPUT_DIR
  publish_update --verify BASE_URL|OUTPUT_DIR [--public-key KEY]... [--strict] [--json]
  publish_update --list OUTPUT_DIR [--json]
  publish_update --announce FOLDER [--public-key KEY]... [--strict] [--json] OUTPUT_DIR
  publish_update --prune KEEP [--json] OUTPUT_DIR
  publish_update --version
  publish_update --help

The first form publishes a release: it copies the files of RELEASE_DIR to OUTPUT_DIR/FOLDER with
their manifest update_md5.info, then writes OUTPUT_DIR/update.json, which announces the release.
OUTPUT_DIR is the folder that the update base URL serves. Nobody ever sees half a release.

Options for publishing:
  --version VERSION       version of the release, such as 3.10.25, as in its Info.plist
  --min-version VERSION   hosts at or below this version cannot put the update off; 0 forces nobody
  --download-url URL      the https address that the user's browser opens
  --version-string TEXT   the version as shown to people (default: VERSION)
  --folder FOLDER         folder of the release below OUTPUT_DIR (default: VERSION)
  --application ID        bundle identifier (default: that of RELEASE_DIR/Contents/Info.plist)
  --sign-with COMMAND     shell command that signs; the manifest's path is appended to it, and it
                          must create a file of that name with .minisig appended
  --public-key KEY        the signature must be made with this key; may be given several times
  --dry-run               write nothing; list the changes since the newest release there
  --force                 publish a version that is not the Info.plist's, is not above the
                          announced one, or does not fit completely into a number
  --strict                treat warnings as failures
  --json                  print one JSON object at the end, and everything else on standard error

Other forms:
  --verify BASE_URL|OUTPUT_DIR
                          check what is published there, every file of it, as an updater would
  --public-key KEY        the release must be signed by this key; may be given several times
  --list OUTPUT_DIR       list the releases; '*' marks the announced one
  --announce FOLDER       check the release in OUTPUT_DIR/FOLDER and announce it: forward, or back
                          to withdraw a newer one
  --prune KEEP            remove all releases except the newest KEEP and the announced one
  --version               print the version of this program
  -h, --help              print this help

Exit codes:
  0  done, and all is right
  1  refused, failed, or not right; standard error says why
  2  bad usage

Example:
  publish_update --version 3.10.25 --min-version 3.0.0 \
      --download-url https://www.example.com/download \
      --sign-with "minisign -S -s vendor.key -m" \
      --public-key RWQf6LRCGA9i53mlYecO4IzT51TGPpvWucNSCh1CBM0QTaLn73Y7GFO3 \
      Sample.app /srv/update)");
}
