#include "bwfmetaedit/program/help.h"

namespace ostrel::bwfmetaedit {

const std::string_view kUsage = "Usage: \"bwfmetaedit [-Options...] FileName1 [Filename2...]\"\n"
                                "\"bwfmetaedit --Help\" for displaying more information\n";

// The version whose behaviour this program has; callers that ask for it want to know what they can rely on.
const std::string_view kVersion = "BWF MetaEdit 26.01\n";

const std::string_view kHelp = R"(Usage: bwfmetaedit [options] FILE...

This is the bwfmetaedit that is delivered with Ostrel. It shows and changes the
bext, INFO and iXML metadata of WAV files (RIFF and RF64), with the command
lines and the documents of the tool whose name it has. What it does not cover
(technical reports, checksums, cue points, aXML, XMP and conformance rules) the
full tool does: install that one in its place. A folder stands for the files in
it. The option names ignore case; "-" as FILE of an output is the standard
output. Nothing is written to a file that need not change.

Showing:
  --out-core=FILE       the bext and INFO fields of all files, as CSV
  --out-core-xml=FILE   the same as XML
  --out-iXML=FILE       the iXML of one file

Changing:
  --Description=TEXT  --Originator=TEXT  --OriginatorReference=TEXT
  --OriginationDate=YYYY-MM-DD  --OriginationTime=HH:MM:SS
                        fields of bext; TIMESTAMP as date or time is the time
                        at which the file was created
  --TimeReference=N     samples since midnight, or HH:MM:SS.mmm
  --IXXX=TEXT           an INFO field: IARL IART ICMS ICMT ICOP ICRD IDIT IENG
                        IGNR IKEY IMED INAM IPRD ISBJ ISFT ISRC ISRF ITCH
                        An empty value clears the field.
  --in-core=FILE        applies a document as --out-core or --out-core-xml make
                        it, to those of the given files that it names
  --in-iXML=FILE        takes FILE as the iXML; an empty FILE removes it
  --copy SRC DST        gives DST every field that SRC holds
  --reject-overwrite    a field that holds another value is an error; with
                        --copy it is kept and only missing fields are added
  --simulate            checks, and writes nothing

  --version, --help

Exit status: 0, or 1 if there was any error. "man bwfmetaedit" tells the rest.
)";

} // namespace ostrel::bwfmetaedit
