#include "workflow/workflow_policy.h"

#include <algorithm>
#include <span>

namespace corvenda {
namespace {

using Words = std::span<const std::string_view>;

constexpr std::string_view kAssetContextWordsZh[] = {
    "素材", "照片", "图片", "视频", "项目", "文件", "资料",   "数据",   "模型",   "样本", "版本", "交付",
    "备份", "导出", "导入", "剪辑", "调色", "成片", "安装包", "压缩包", "数据库", "词库", "脚本", "测试",
};

// Words are searched as plain substrings: "test" is found in "latest" and "data" in "metadata", on purpose.
constexpr std::string_view kAssetContextWordsEn[] = {
    "asset",  "assets", "material", "materials", "project", "file",    "files",    "data",    "dataset", "model",
    "backup", "export", "import",   "edit",      "editing", "deliver", "delivery", "package", "build",   "test",
};

constexpr std::string_view kHardContextWordsZh[] = {
    "素材整理", "素材检查", "素材备份",   "素材归档", "素材待审", "照片整理", "照片备份", "图片整理", "视频整理",
    "项目整理", "项目交付", "项目打包",   "项目报价", "项目提案", "项目资料", "项目备份", "项目归档", "项目确认",
    "项目待审", "客户资料", "客户确认版", "客户项目", "客户交付", "客户报价", "数据恢复", "数据同步", "数据标注",
    "数据集",   "数据备份", "训练数据",   "训练模型", "模型训练", "模型数据", "模型样本", "测试数据", "测试样本",
    "测试项目", "文件整理", "文件备份",   "最终版",   "确认版",   "无水印版", "最终交付", "交付",     "导出",
    "导入",     "备份",     "归档",       "压缩包",   "报价表",   "素材库",   "训练集",
};

constexpr std::string_view kHardContextWordsEn[] = {
    "asset",    "assets",  "material", "materials", "project",    "projects",   "file",     "files",        "folder",
    "folders",  "data",    "dataset",  "datasets",  "model",      "models",     "backup",   "backups",      "archive",
    "archives", "export",  "exports",  "import",    "imports",    "deliver",    "delivery", "deliverables", "package",
    "build",    "test",    "tests",    "testing",   "classifier", "regression", "label",    "labels",       "csv",
    "cache",    "version", "versions", "final",     "raw",
};

// "home" and "business" are absent on purpose: their own rules below can allow a title that carries a hard word.
constexpr std::string_view kHardSuppressedScenes[] = {
    "travel",   "city",   "hotel", "outdoor", "drive",   "sport", "food",  "coffee", "show",
    "shopping", "beauty", "pet",   "family",  "romance", "event", "daily", "health", "mood",
};

constexpr std::string_view kHomeTitleTokens[] = {
    "房间", "桌面", "抽屉", "衣柜", "鞋柜", "厨房", "客厅", "卧室", "家里", "居家", "宅家",
};

constexpr std::string_view kHealthTitleTokens[] = {
    "医院", "门诊", "体检", "复查", "看医生", "拿药", "康复", "理疗", "针灸", "休养",
};

// AI in both cases, because the search does not fold case.
constexpr std::string_view kSportDataTokens[] = {
    "数据", "模型", "样本", "算法", "词库", "AI", "ai", "标注", "训练集",
};

constexpr std::string_view kFoodProjectTokens[] = {
    "项目", "交付", "文件", "素材", "版本", "安装包", "压缩包", "构建", "发布包",
};

constexpr std::string_view kFoodTitleTokens[] = {
    "餐", "饭", "外卖", "堂食", "吃", "美食", "餐厅", "小吃",
};

constexpr std::string_view kBusinessTitleTokens[] = {
    "会议", "会谈", "拜访", "沟通", "对接", "签约", "谈判", "复盘", "晨会", "周会", "汇报",
};

/// The first of the words that the text contains; empty for none.
std::string_view findAny(std::string_view text, Words words) {
  const auto found = std::find_if(words.begin(), words.end(),
                                  [&](std::string_view word) { return text.find(word) != std::string_view::npos; });
  return found == words.end() ? std::string_view() : *found;
}

std::string_view findInReadings(const WorkflowTitle& title, Words words, Words wordsEn) {
  const std::string_view word = findAny(title.raw, words);
  return word.empty() ? findAny(title.normalizedEnglish, wordsEn) : word;
}

bool equalsAny(std::string_view text, Words words) {
  return std::find(words.begin(), words.end(), text) != words.end();
}

struct Verdict {
  bool suppressed;
  std::string_view reason;
  std::string_view word;  ///< of the title, that decided; empty for none
};

/// The rules of single scenes, for titles with workflow context that no hard rule has decided.
Verdict judgeByScene(const WorkflowTitle& title) {
  const auto& [raw, english, sceneKey, alias, detail, overrideType] = title;
  if (sceneKey == "home" && (alias == "整理" || alias == "收纳" || detail == "room reset")) {
    const std::string_view word = findAny(raw, kHomeTitleTokens);
    if (!word.empty()) return {false, "home-title-token-allow", word};
    return {true, "home-workflow-suppressed", {}};
  }
  if (sceneKey == "health" &&
      (alias == "检查" || alias == "恢复" || detail == "medical checkup" || detail == "recovery session")) {
    const std::string_view word = findAny(raw, kHealthTitleTokens);
    if (!word.empty()) return {false, "health-title-token-allow", word};
    return {true, "health-workflow-suppressed", {}};
  }
  if (sceneKey == "sport" && (alias == "训练" || detail == "workout session")) {
    const std::string_view word = findAny(raw, kSportDataTokens);
    if (!word.empty()) return {true, "sport-data-workflow-suppressed", word};
    return {false, "sport-title-allow", {}};
  }
  if (sceneKey == "food" && (alias == "打包" || detail == "restaurant dining")) {
    // Suppressed only when a project word is there and no food word is.
    const std::string_view project = findAny(raw, kFoodProjectTokens);
    const std::string_view food = findAny(raw, kFoodTitleTokens);
    if (!project.empty() && food.empty()) return {true, "food-workflow-suppressed", project};
    return {false, "food-title-token-allow", food};
  }
  if (sceneKey == "business" && (alias == "客户" || detail == "client meeting")) {
    constexpr std::string_view kClientMaterial = "客户资料";
    if (raw.find(kClientMaterial) != std::string::npos) {
      return {false, "business-client-material-explicit-allow", kClientMaterial};
    }
    const std::string_view word = findAny(raw, kBusinessTitleTokens);
    if (!word.empty()) return {false, "business-title-token-allow", word};
    return {true, "business-workflow-suppressed", {}};
  }
  return {false, "workflow-context-not-applicable", {}};
}

Verdict judge(const WorkflowTitle& title, bool asset, bool hard) {
  if (!title.overrideType.empty()) return {false, "override-bypass", {}};
  if (!asset && !hard) return {false, "no-workflow-context", {}};
  if (hard && equalsAny(title.sceneKey, kHardSuppressedScenes)) return {true, "hard-workflow-suppressed-scene", {}};
  return judgeByScene(title);
}

}  // namespace

WorkflowDecision evaluateWorkflowPolicy(const WorkflowTitle& title) {
  WorkflowDecision decision;
  decision.assetWord = findInReadings(title, kAssetContextWordsZh, kAssetContextWordsEn);
  decision.hardWord = findInReadings(title, kHardContextWordsZh, kHardContextWordsEn);
  const Verdict verdict = judge(title, !decision.assetWord.empty(), !decision.hardWord.empty());
  decision.suppressed = verdict.suppressed;
  decision.sceneWord = verdict.word;
  decision.reason = verdict.reason;
  return decision;
}

}  // namespace corvenda
