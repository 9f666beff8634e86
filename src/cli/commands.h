// Every subcommand, one function each.
#pragma once

namespace CLI {
class App;
}

namespace ostrel::cli {

struct ChosenCommand;

void addToolsCommand(CLI::App& parser, ChosenCommand& chosen);
void addSamplesCommand(CLI::App& parser, ChosenCommand& chosen);
void addInterleaveCommand(CLI::App& parser, ChosenCommand& chosen);
void addDeinterleaveCommand(CLI::App& parser, ChosenCommand& chosen);
void addValidateCommand(CLI::App& parser, ChosenCommand& chosen);
void addCleanCommand(CLI::App& parser, ChosenCommand& chosen);
void addWaveformCommand(CLI::App& parser, ChosenCommand& chosen);
void addSplitCommand(CLI::App& parser, ChosenCommand& chosen);
void addGroupCommand(CLI::App& parser, ChosenCommand& chosen);
void addJoinCommand(CLI::App& parser, ChosenCommand& chosen);
void addEditCommand(CLI::App& parser, ChosenCommand& chosen);
void addSealCommand(CLI::App& parser, ChosenCommand& chosen);
void addVerifyCommand(CLI::App& parser, ChosenCommand& chosen);
void addJournalCommand(CLI::App& parser, ChosenCommand& chosen);
void addReportProofCommand(CLI::App& parser, ChosenCommand& chosen);
void addCheckCommand(CLI::App& parser, ChosenCommand& chosen);
void addReportCommand(CLI::App& parser, ChosenCommand& chosen);
void addRescueCommand(CLI::App& parser, ChosenCommand& chosen);
void addStitchCommand(CLI::App& parser, ChosenCommand& chosen);
void addHashCommand(CLI::App& parser, ChosenCommand& chosen);

} // namespace ostrel::cli
