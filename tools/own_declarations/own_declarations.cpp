// A plugin for clang-tidy 14, which walks every declaration of every header that a source includes
// and then drops what it found in system headers. This shows it our own declarations alone, which
// takes a quarter of the time.
#include <memory>
#include <string>
#include <vector>

#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/AST/Decl.h>
#include <clang/AST/DeclGroup.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

// The names are clang's.
// NOLINTBEGIN(readability-identifier-naming)
namespace {

class own_declarations final : public clang::ASTConsumer {
 public:
  bool HandleTopLevelDecl(clang::DeclGroupRef group) override {
    for (clang::Decl* each : group) {
      const clang::SourceManager& sources = each->getASTContext().getSourceManager();
      if (!sources.isInSystemHeader(sources.getExpansionLoc(each->getLocation()))) {
        ours_.push_back(each);
      }
    }
    return true;
  }

  void HandleTranslationUnit(clang::ASTContext& context) override {
    context.setTraversalScope(ours_);
  }

 private:
  std::vector<clang::Decl*> ours_;
};

class limit_scope final : public clang::PluginASTAction {
 protected:
  std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance& /*compiler*/,
                                                        llvm::StringRef /*file*/) override {
    return std::make_unique<own_declarations>();
  }
  bool ParseArgs(const clang::CompilerInstance& /*compiler*/,
                 const std::vector<std::string>& /*arguments*/) override {
    return true;
  }
  ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<limit_scope> registration("own-declarations",
                                                                   "limits checks to our own code");

}  // namespace
// NOLINTEND(readability-identifier-naming)
