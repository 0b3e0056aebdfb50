#include <cstdlib>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "Skipped.h"

namespace {

// Reports as the command line wants it, and remembers whether a benchmark found that the work had
// not been done.
class Reporter final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override {
        display_->SetOutputStream(&GetOutputStream());
        display_->SetErrorStream(&GetErrorStream());
        return display_->ReportContext(context);
    }
    void ReportRuns(const std::vector<Run>& report) override {
        for (const Run& run : report) {
            failed_ = failed_ || (run.error_occurred && !MrpBench::isSkipped(run.error_message));
        }
        display_->ReportRuns(report);
    }
    void Finalize() override { display_->Finalize(); }

    bool failed() const { return failed_; }

  private:
    std::unique_ptr<benchmark::BenchmarkReporter> display_{
        benchmark::CreateDefaultDisplayReporter()};
    bool failed_ = false;
};

}  // namespace

// Status 1 when a benchmark failed; one that was skipped has not.
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return reporter.failed() ? EXIT_FAILURE : EXIT_SUCCESS;
}
