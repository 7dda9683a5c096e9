// Does asset handling in the title suppress the scene? One decision a line; the reason tells which rule decided.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';

const HARD = 'hard-workflow-suppressed-scene';
const NONE = 'no-workflow-context';
const OTHER = 'workflow-context-not-applicable';
const SUPPRESSING = new Set([HARD, 'home-workflow-suppressed', 'health-workflow-suppressed', 'sport-data-workflow-suppressed',
  'food-workflow-suppressed', 'business-workflow-suppressed']);

/** Runs rows of [options, flags, reason]; flags hold "a" for asset and "h" for hard context. */
function check(rows) {
  for (const [options, flags, reason] of rows) {
    const result = addon.evaluateWorkflowPolicy(options);
    const told = `${result.hasAssetWorkflowContext ? 'a' : ''}${result.hasHardWorkflowContext ? 'h' : ''} ${result.reason}`;
    assert.equal(told, `${flags} ${reason}`, JSON.stringify(options));
    assert.equal(result.suppressed, SUPPRESSING.has(reason), JSON.stringify(options));
  }
}

test('properties in order, options echoed unchanged', () => {
  const echoed = { sceneKey: ' Travel', alias: 'a\0b', detail: '详情', overrideType: '' };
  const result = addon.evaluateWorkflowPolicy({ ...echoed, raw: 'r', normalizedEnglish: 'e' });
  assert.deepEqual(Object.entries(result), Object.entries({
    ok: true, policyContract: 'native-workflow-v1', suppressed: false, ...echoed,
    hasAssetWorkflowContext: false, hasHardWorkflowContext: false, reason: NONE,
  }));
});

test('entry check: looser than that of the other functions', () => {
  const refusal = { name: 'TypeError', message: 'workflow policy options must be an object' };
  for (const args of [[], [undefined], [null], [1], ['{}'], [true], [Symbol('s')], [1, {}]]) {
    assert.throws(() => addon.evaluateWorkflowPolicy(...args), refusal);
  }
  const asset = { raw: '视频' };
  assert.equal(addon.evaluateWorkflowPolicy(asset, 1, 2).hasAssetWorkflowContext, true, 'further arguments are ignored');
  assert.equal(addon.evaluateWorkflowPolicy(Object.assign(() => {}, asset)).hasAssetWorkflowContext, true);
  assert.equal(addon.evaluateWorkflowPolicy(Object.assign([], asset)).hasAssetWorkflowContext, true);
  const empty = addon.evaluateWorkflowPolicy({});
  assert.deepEqual(addon.evaluateWorkflowPolicy(['项目']), empty);
  const wrong = { raw: ['项目'], normalizedEnglish: null, sceneKey: 42, alias: true, detail: {}, overrideType: new String('x') };
  assert.deepEqual(addon.evaluateWorkflowPolicy(wrong), empty, 'what is no string reads as empty');
  assert.deepEqual(empty, {
    ok: true, policyContract: 'native-workflow-v1', suppressed: false, sceneKey: '', alias: '', detail: '', overrideType: '',
    hasAssetWorkflowContext: false, hasHardWorkflowContext: false, reason: NONE,
  });
});

test('context words: each list in its own form of the title, as plain substrings', () => check([
  [{ raw: '视频' }, 'a', OTHER],
  [{ raw: '归档' }, 'h', OTHER],
  [{ raw: '素材库' }, 'ah', OTHER],
  [{ raw: '安装包' }, 'a', OTHER],
  [{ raw: '安装 包' }, '', NONE],
  [{ raw: '素' }, '', NONE],
  [{ raw: 'asset backup csv' }, '', NONE],
  [{ normalizedEnglish: '素材 备份' }, '', NONE],
  [{ normalizedEnglish: 'edit' }, 'a', OTHER],
  [{ normalizedEnglish: 'csv' }, 'h', OTHER],
  [{ normalizedEnglish: 'CSV TEST' }, '', NONE],
  [{ normalizedEnglish: 'the latest', sceneKey: 'travel' }, 'ah', HARD],
  [{ normalizedEnglish: 'strawberry', sceneKey: 'food' }, 'h', HARD],
  [{ normalizedEnglish: 'profile important metadata' }, 'ah', OTHER],
]));

test('every word of the four context lists', () => {
  const lists = [
    ['raw', 'a', '素材 照片 图片 视频 项目 文件 资料 数据 模型 样本 版本 交付 备份 导出 导入 剪辑 调色 成片 安装包 压缩包 数据库 词库 脚本 测试'],
    ['normalizedEnglish', 'a', 'asset assets material materials project file files data dataset model backup export import edit editing deliver delivery package build test'],
    ['raw', 'h', '素材整理 素材检查 素材备份 素材归档 素材待审 照片整理 照片备份 图片整理 视频整理 项目整理 项目交付 项目打包 项目报价 项目提案 项目资料 项目备份 项目归档 项目确认 项目待审 客户资料 客户确认版 客户项目 客户交付 客户报价 数据恢复 数据同步 数据标注 数据集 数据备份 训练数据 训练模型 模型训练 模型数据 模型样本 测试数据 测试样本 测试项目 文件整理 文件备份 最终版 确认版 无水印版 最终交付 交付 导出 导入 备份 归档 压缩包 报价表 素材库 训练集'],
    ['normalizedEnglish', 'h', 'asset assets material materials project projects file files folder folders data dataset datasets model models backup backups archive archives export exports import imports deliver delivery deliverables package build test tests testing classifier regression label labels csv cache version versions final raw'],
  ];
  for (const [option, flag, words] of lists) {
    for (const word of words.split(' ')) {
      const result = addon.evaluateWorkflowPolicy({ [option]: `x${word}x` });
      assert(flag === 'a' ? result.hasAssetWorkflowContext : result.hasHardWorkflowContext, `${flag} ${word}`);
    }
  }
});

test('a hard word suppresses the life scenes, not home and business', () => {
  const scenes = 'travel city hotel outdoor drive sport food coffee show shopping beauty pet family romance event daily health mood';
  check(scenes.split(' ').map((sceneKey) => [{ raw: '备份', sceneKey }, 'ah', HARD]));
  check([
    ...['home', 'business', 'Travel', 'travel ', 'trave', ''].map((sceneKey) => [{ raw: '备份', sceneKey }, 'ah', OTHER]),
    [{ raw: '视频', sceneKey: 'travel' }, 'a', OTHER],
    [{ raw: '项目交付', sceneKey: 'travel', overrideType: 'x' }, 'ah', 'override-bypass'],
    [{ overrideType: ' ' }, '', 'override-bypass'],
    [{ raw: '游记', sceneKey: 'travel' }, '', NONE],
    [{ sceneKey: 'home', alias: '整理' }, '', NONE],
  ]);
});

test('home', () => check([
  [{ raw: '厨房项目整理', sceneKey: 'home', alias: '整理' }, 'ah', 'home-title-token-allow'],
  [{ raw: '项目整理', sceneKey: 'home', alias: '整理' }, 'ah', 'home-workflow-suppressed'],
  [{ raw: '照片', sceneKey: 'home', alias: '收纳' }, 'a', 'home-workflow-suppressed'],
  [{ raw: '衣柜照片', sceneKey: 'home', detail: 'room reset' }, 'a', 'home-title-token-allow'],
  [{ normalizedEnglish: 'kitchen files', sceneKey: 'home', detail: 'room reset' }, 'ah', 'home-workflow-suppressed'],
  [{ raw: '项目整理', sceneKey: 'home', alias: '整理 ' }, 'ah', OTHER],
  ...['房间', '桌面', '抽屉', '衣柜', '鞋柜', '厨房', '客厅', '卧室', '家里', '居家', '宅家'].map((token) => [
    { raw: `${token}照片`, sceneKey: 'home', alias: '收纳' }, 'a', 'home-title-token-allow']),
]));

test('health', () => check([
  ...[{ alias: '检查' }, { alias: '恢复' }, { detail: 'medical checkup' }, { detail: 'recovery session' }].flatMap((by) => [
    [{ raw: '视频', sceneKey: 'health', ...by }, 'a', 'health-workflow-suppressed'],
    [{ raw: '门诊视频', sceneKey: 'health', ...by }, 'a', 'health-title-token-allow'],
    [{ raw: '门诊备份', sceneKey: 'health', ...by }, 'ah', HARD],
  ]),
  ...['医院', '门诊', '体检', '复查', '看医生', '拿药', '康复', '理疗', '针灸', '休养'].map((token) => [
    { raw: `${token}照片`, sceneKey: 'health', alias: '恢复' }, 'a', 'health-title-token-allow']),
  [{ raw: '视频', sceneKey: 'health', alias: '体检' }, 'a', OTHER],
]));

test('sport: data words suppress', () => check([
  [{ raw: 'AI训练素材', sceneKey: 'sport', alias: '训练' }, 'a', 'sport-data-workflow-suppressed'],
  [{ raw: 'Ai训练素材', sceneKey: 'sport', alias: '训练' }, 'a', 'sport-title-allow'],
  [{ raw: '视频', sceneKey: 'sport', detail: 'workout session' }, 'a', 'sport-title-allow'],
  ...['数据', '模型', '样本', '算法', '词库', 'AI', 'ai', '标注'].map((token) => [
    { raw: `${token}视频`, sceneKey: 'sport', detail: 'workout session' }, 'a', 'sport-data-workflow-suppressed']),
  [{ raw: '训练集视频', sceneKey: 'sport', alias: '训练' }, 'ah', HARD],
  [{ raw: '视频', sceneKey: 'sport', alias: '跑步' }, 'a', OTHER],
]));

test('food: suppressed when a project word is there and no food word is', () => check([
  [{ raw: '项目盒饭打包', sceneKey: 'food', alias: '打包' }, 'a', 'food-title-token-allow'],
  [{ raw: '项目打包盒饭', sceneKey: 'food', alias: '打包' }, 'ah', HARD],
  [{ raw: '版本打包', sceneKey: 'food', alias: '打包' }, 'a', 'food-workflow-suppressed'],
  [{ raw: '视频', sceneKey: 'food', detail: 'restaurant dining' }, 'a', 'food-title-token-allow'],
  [{ normalizedEnglish: 'editing', sceneKey: 'food', alias: '打包' }, 'a', 'food-title-token-allow'],
  ...['项目', '文件', '素材', '版本', '安装包', '构建', '发布包'].flatMap((token) => [
    [{ raw: `${token}视频`, sceneKey: 'food', alias: '打包' }, 'a', 'food-workflow-suppressed'],
    [{ raw: `${token}视频小吃`, sceneKey: 'food', alias: '打包' }, 'a', 'food-title-token-allow'],
  ]),
  ...['餐', '饭', '外卖', '堂食', '吃', '美食'].map((token) => [
    { raw: `${token}版本`, sceneKey: 'food', detail: 'restaurant dining' }, 'a', 'food-title-token-allow']),
  [{ raw: '版本', sceneKey: 'food', alias: '外卖' }, 'a', OTHER],
]));

test('business', () => check([
  [{ raw: '客户资料会议', sceneKey: 'business', alias: '客户' }, 'ah', 'business-client-material-explicit-allow'],
  [{ raw: '客户资料', sceneKey: 'business', detail: 'client meeting' }, 'ah', 'business-client-material-explicit-allow'],
  [{ raw: '客户资料', sceneKey: 'travel', alias: '客户' }, 'ah', HARD],
  [{ raw: '客户交付', sceneKey: 'business', alias: '客户' }, 'ah', 'business-workflow-suppressed'],
  ...['会议', '会谈', '拜访', '沟通', '对接', '签约', '谈判', '复盘', '晨会', '周会', '汇报'].map((token) => [
    { raw: `客户交付${token}`, sceneKey: 'business', detail: 'client meeting' }, 'ah', 'business-title-token-allow']),
  [{ raw: '客户交付', sceneKey: 'business', alias: '报价' }, 'ah', OTHER],
]));
