// Does asset handling in the title suppress the scene? One decision a line; the reason tells which rule decided.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';

const HARD = 'hard-workflow-suppressed-scene';
const NONE = 'no-workflow-context';
const OTHER = 'workflow-context-not-applicable';
const evaluate = (...args) => addon.evaluateWorkflowPolicy(...args);

/** Runs rows of [options, flags, reason]; flags hold "a" for asset and "h" for hard context. */
function check(rows) {
  for (const [options, flags, reason] of rows) {
    const { hasAssetWorkflowContext, hasHardWorkflowContext, suppressed, reason: told } = evaluate(options);
    assert.deepEqual([`${hasAssetWorkflowContext ? 'a' : ''}${hasHardWorkflowContext ? 'h' : ''}`, told, suppressed],
      [flags, reason, reason.includes('-suppressed')], JSON.stringify(options));
  }
}

/** Rows of [alias or English detail, raw titles, flags, reason] for one scene. */
const checkScene = (sceneKey, rows) => check(rows.flatMap(([by, titles, flags, reason]) => titles.split('|').map((raw) =>
  [{ raw, sceneKey, [/^[a-z]/.test(by) ? 'detail' : 'alias']: by }, flags, reason])));

test('properties and options', () => {
  const result = (echoed) => ({ ok: true, policyContract: 'native-workflow-v1', suppressed: false, ...echoed,
    hasAssetWorkflowContext: false, hasHardWorkflowContext: false, reason: NONE });
  const echoed = { sceneKey: ' Travel', alias: 'a\0b', detail: '详情', overrideType: '' };
  assertSame(evaluate({ ...echoed, raw: 'r', normalizedEnglish: 'e' }), result(echoed));
  for (const args of [[], [undefined], [null], [1], ['{}'], [true], [Symbol('s')], [1, {}]]) {
    assert.equal(thrownBy(() => evaluate(...args)), 'TypeError: workflow policy options must be an object');
  }
  // Looser than the other functions: further arguments, functions and arrays pass, and what is no string reads as empty.
  const asset = { raw: '视频' };
  check([[Object.assign(() => {}, asset), 'a', OTHER], [Object.assign([], asset), 'a', OTHER]]);
  assert.equal(evaluate(asset, 1, 2).hasAssetWorkflowContext, true);
  const wrong = { raw: ['项目'], normalizedEnglish: null, sceneKey: 42, alias: true, detail: {}, overrideType: new String('x') };
  for (const options of [{}, ['项目'], wrong]) assertSame(evaluate(options), result({ sceneKey: '', alias: '', detail: '', overrideType: '' }));
});

test('context words: each list in its own form of the title, as plain substrings', () => {
  check([
    ...[['视频', 'a'], ['归档', 'h'], ['素材库', 'ah'], ['安装包', 'a'], ['安装 包', ''], ['素', ''], ['asset backup csv', '']]
      .map(([raw, flags]) => [{ raw }, flags, flags ? OTHER : NONE]),
    ...[['素材 备份', ''], ['edit', 'a'], ['csv', 'h'], ['CSV TEST', ''], ['profile important metadata', 'ah']]
      .map(([normalizedEnglish, flags]) => [{ normalizedEnglish }, flags, flags ? OTHER : NONE]),
    [{ normalizedEnglish: 'the latest', sceneKey: 'travel' }, 'ah', HARD],
    [{ normalizedEnglish: 'strawberry', sceneKey: 'food' }, 'h', HARD],
  ]);
  const lists = [
    ['raw', 'hasAssetWorkflowContext', `素材 照片 图片 视频 项目 文件 资料 数据 模型 样本 版本 交付 备份 导出 导入 剪辑 调色 成片
      安装包 压缩包 数据库 词库 脚本 测试`],
    ['normalizedEnglish', 'hasAssetWorkflowContext', `asset assets material materials project file files data dataset model backup
      export import edit editing deliver delivery package build test`],
    ['raw', 'hasHardWorkflowContext', `素材整理 素材检查 素材备份 素材归档 素材待审 照片整理 照片备份 图片整理 视频整理 项目整理 项目交付 项目打包 项目报价
      项目提案 项目资料 项目备份 项目归档 项目确认 项目待审 客户资料 客户确认版 客户项目 客户交付 客户报价 数据恢复 数据同步 数据标注 数据集
      数据备份 训练数据 训练模型 模型训练 模型数据 模型样本 测试数据 测试样本 测试项目 文件整理 文件备份 最终版 确认版 无水印版 最终交付 交付 导出
      导入 备份 归档 压缩包 报价表 素材库 训练集`],
    ['normalizedEnglish', 'hasHardWorkflowContext', `asset assets material materials project projects file files folder folders data
      dataset datasets model models backup backups archive archives export exports import imports deliver delivery deliverables
      package build test tests testing classifier regression label labels csv cache version versions final raw`],
  ];
  for (const [option, flag, words] of lists) {
    for (const word of words.split(/\s+/)) assert.equal(evaluate({ [option]: `x${word}x` })[flag], true, `${flag} ${word}`);
  }
});

test('a hard word suppresses the life scenes, not home and business', () => {
  const scenes = 'travel city hotel outdoor drive sport food coffee show shopping beauty pet family romance event daily health mood';
  check([
    ...scenes.split(' ').map((sceneKey) => [{ raw: '备份', sceneKey }, 'ah', HARD]),
    ...['home', 'business', 'Travel', 'travel ', 'trave', ''].map((sceneKey) => [{ raw: '备份', sceneKey }, 'ah', OTHER]),
    [{ raw: '视频', sceneKey: 'travel' }, 'a', OTHER],
    [{ raw: '项目交付', sceneKey: 'travel', overrideType: 'x' }, 'ah', 'override-bypass'],
    [{ overrideType: ' ' }, '', 'override-bypass'],
    [{ sceneKey: 'home', alias: '整理' }, '', NONE],
  ]);
});

test('the rules of single scenes', () => {
  const photos = (words) => words.split(' ').map((word) => `${word}照片`).join('|');
  checkScene('home', [
    ['整理', '厨房项目整理', 'ah', 'home-title-token-allow'],
    ['整理', '项目整理', 'ah', 'home-workflow-suppressed'],
    ['收纳', photos('房间 桌面 抽屉 衣柜 鞋柜 厨房 客厅 卧室 家里 居家 宅家'), 'a', 'home-title-token-allow'],
    ['收纳', '照片', 'a', 'home-workflow-suppressed'],
    ['room reset', '衣柜照片', 'a', 'home-title-token-allow'],
    ['整理 ', '项目整理', 'ah', OTHER],
  ]);
  check([[{ normalizedEnglish: 'kitchen files', sceneKey: 'home', detail: 'room reset' }, 'ah', 'home-workflow-suppressed']]);
  checkScene('health', [
    ...['检查', '恢复', 'medical checkup', 'recovery session'].flatMap((by) => [
      [by, '视频', 'a', 'health-workflow-suppressed'], [by, '门诊视频', 'a', 'health-title-token-allow'], [by, '门诊备份', 'ah', HARD]]),
    ['恢复', photos('医院 门诊 体检 复查 看医生 拿药 康复 理疗 针灸 休养'), 'a', 'health-title-token-allow'],
    ['体检', '视频', 'a', OTHER],
  ]);
  checkScene('sport', [
    ['workout session', photos('数据 模型 样本 算法 词库 AI ai 标注'), 'a', 'sport-data-workflow-suppressed'],
    ['训练', 'AI训练素材', 'a', 'sport-data-workflow-suppressed'],
    ['训练', 'Ai训练素材', 'a', 'sport-title-allow'],
    ['workout session', '视频', 'a', 'sport-title-allow'],
    ['训练', '训练集视频', 'ah', HARD],
    ['跑步', '视频', 'a', OTHER],
  ]);
  checkScene('food', [
    ['打包', photos('项目 文件 素材 版本 安装包 构建 发布包'), 'a', 'food-workflow-suppressed'],
    ['打包', photos('项目小吃 文件小吃 素材小吃 版本小吃 安装包小吃 构建小吃 发布包小吃'), 'a', 'food-title-token-allow'],
    ['restaurant dining', photos('餐版本 饭版本 外卖版本 堂食版本 吃版本 美食版本'), 'a', 'food-title-token-allow'],
    ['restaurant dining', '视频', 'a', 'food-title-token-allow'],
    ['打包', '项目盒饭打包', 'a', 'food-title-token-allow'],
    ['打包', '项目打包盒饭', 'ah', HARD],
    ['外卖', '版本', 'a', OTHER],
  ]);
  checkScene('business', [
    ['客户', '客户资料会议', 'ah', 'business-client-material-explicit-allow'],
    ['client meeting', '客户资料', 'ah', 'business-client-material-explicit-allow'],
    ['客户', '客户交付', 'ah', 'business-workflow-suppressed'],
    ['client meeting', photos('会议 会谈 拜访 沟通 对接 签约 谈判 复盘 晨会 周会 汇报'), 'a', 'business-title-token-allow'],
    ['报价', '客户交付', 'ah', OTHER],
  ]);
});
