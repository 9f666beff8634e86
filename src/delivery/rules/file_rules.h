// The rules that look at one file. Each function tells what it finds in its subject; pure over what was read.
#pragma once

#include "delivery/facts/recording_facts.h"
#include "delivery/rules/rule.h"

namespace ostrel {

void checkFormat(const RecordingFacts& file, Findings& findings);
void checkBext(const RecordingFacts& file, Findings& findings);
void checkIxml(const RecordingFacts& file, Findings& findings);
void checkAgreement(const RecordingFacts& file, Findings& findings); // of iXML and bext
void checkAudioDefinition(const RecordingFacts& file, Findings& findings);
void checkName(const RecordingFacts& file, Findings& findings);

// By all of those.
void checkFile(const RecordingFacts& file, Findings& findings);

} // namespace ostrel
