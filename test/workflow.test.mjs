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
function check(table) {
  for (const [options, flags, reason] of table) {
    const told = evaluate(options);
    const toldFlags = `${told.hasAssetWorkflowContext ? 'a' : ''}${told.hasHardWorkflowContext ? 'h' : ''}`;
    const expected = [flags, reason, reason.includes('-suppressed')];
    assert.deepEqual([toldFlags, told.reason, told.suppressed], expected, JSON.stringify(options));
  }
}

test('properties and options', () => {
  const result = (echoed) => ({ ok: true, policyContract: 'native-workflow-v1', suppressed: false, ...echoed,
    hasAssetWorkflowContext: false, hasHardWorkflowContext: false, reason: NONE });
  const echoed = { sceneKey: ' Travel', alias: 'a\0b', detail: '详情', overrideType: '' };
  assertSame(evaluate({ ...echoed, raw: 'r', normalizedEnglish: 'e' }), result(echoed));
  for (const args of [[], [undefined], [null], [1], ['{}'], [true], [Symbol('s')], [1, {}]]) {
    assert.equal(thrownBy(() => evaluate(...args)), 'TypeError: workflow policy options must be an object');
  }
  // Looser than the other functions: further arguments, functions and arrays pass, and what is no string is empty.
  const asset = { raw: '视频' };
  for (const args of [[asset, 1, 2], [Object.assign(() => {}, asset)], [Object.assign([], asset)]]) {
    assert.equal(evaluate(...args).hasAssetWorkflowContext, true);
  }
  const wrong = { raw: ['项目'], normalizedEnglish: null, sceneKey: 42, alias: true, detail: {}, overrideType: [] };
  const empty = { sceneKey: '', alias: '', detail: '', overrideType: '' };
  for (const options of [{}, ['项目'], wrong]) assertSame(evaluate(options), result(empty));
});

test('context words: each list in its own form of the title, as plain substrings', () => {
  const lists = [
    // Option, flags, words. A hard word can hold an asset word.
    ['raw', 'a', `素材 照片 图片 视频 项目 文件 资料 数据 模型 样本 版本 剪辑 调色 成片 安装包 数据库 词库 脚本 测试`],
    ['raw', 'h', '客户确认版 客户报价 最终版 确认版 无水印版 归档 报价表 训练集'],
    ['raw', 'ah', `交付 备份 导出 导入 压缩包 素材整理 素材检查 素材备份 素材归档 素材待审 素材库 照片整理 照片备份
      图片整理 视频整理 项目整理 项目交付 项目打包 项目报价 项目提案 项目资料 项目备份 项目归档 项目确认 项目待审
      客户资料 客户项目 客户交付 数据恢复 数据同步 数据标注 数据集 数据备份 训练数据 训练模型 模型训练 模型数据
      模型样本 测试数据 测试样本 测试项目 文件整理 文件备份 最终交付`],
    ['raw', '', '安装_包 素 asset backup csv'],
    ['normalizedEnglish', 'a', 'edit editing'],
    ['normalizedEnglish', 'h', `folder folders archive archives classifier regression label labels csv cache version
      versions final raw`],
    ['normalizedEnglish', 'ah', `asset assets material materials project projects file files data dataset datasets
      model models backup backups export exports import imports deliver delivery deliverables package build test tests
      testing`],
    ['normalizedEnglish', '', '素材 备份 CSV TEST'],
  ];
  check(lists.flatMap(([option, flags, words]) => words.split(/\s+/).map((word) =>
    [{ [option]: `x${word}x`.replace('_', ' ') }, flags, flags ? OTHER : NONE])));
  check([[{ normalizedEnglish: 'the latest', sceneKey: 'travel' }, 'ah', HARD]]); // "test" stands in it
});

test('a hard word suppresses the life scenes, not home and business', () => {
  const scenes = 'travel city hotel outdoor drive sport food coffee show shopping beauty pet family romance event ' +
    'daily health mood';
  check([
    ...scenes.split(' ').map((sceneKey) => [{ raw: '备份', sceneKey }, 'ah', HARD]),
    ...['home', 'business', 'Travel', 'travel ', 'trave'].map((sceneKey) => [{ raw: '备份', sceneKey }, 'ah', OTHER]),
    [{ raw: '视频', sceneKey: 'travel' }, 'a', OTHER],
    [{ raw: '项目交付', sceneKey: 'travel', overrideType: 'x' }, 'ah', 'override-bypass'],
    [{ overrideType: ' ' }, '', 'override-bypass'],
    [{ sceneKey: 'home', alias: '整理' }, '', NONE],
  ]);
});

test('the rules of single scenes', () => {
  /** Titles in which each of the words stands beside a word for assets. */
  const photos = (words) => words.split(' ').map((word) => `${word}照片`).join('|');
  const home = '房间 桌面 抽屉 衣柜 鞋柜 厨房 客厅 卧室 家里 居家 宅家';
  const business = '会议 会谈 拜访 沟通 对接 签约 谈判 复盘 晨会 周会 汇报';
  const byScene = {
    // Alias or English detail, titles, flags, reason.
    home: [
      ['整理', '厨房项目整理', 'ah', 'home-title-token-allow'], ['整理', '项目整理', 'ah', 'home-workflow-suppressed'],
      ['收纳', photos(home), 'a', 'home-title-token-allow'], ['收纳', '照片', 'a', 'home-workflow-suppressed'],
      ['room reset', '衣柜照片', 'a', 'home-title-token-allow'], ['整理 ', '项目整理', 'ah', OTHER],
    ],
    health: [
      ...['检查', '恢复', 'medical checkup', 'recovery session'].flatMap((by) => [
        [by, '视频', 'a', 'health-workflow-suppressed'], [by, '门诊视频', 'a', 'health-title-token-allow']]),
      ['检查', '门诊备份', 'ah', HARD],
      ['恢复', photos('医院 门诊 体检 复查 看医生 拿药 康复 理疗 针灸 休养'), 'a', 'health-title-token-allow'],
      ['体检', '视频', 'a', OTHER],
    ],
    sport: [
      ['workout session', photos('数据 模型 样本 算法 词库 AI ai 标注'), 'a', 'sport-data-workflow-suppressed'],
      ['训练', 'AI训练素材', 'a', 'sport-data-workflow-suppressed'], ['训练', 'Ai训练素材', 'a', 'sport-title-allow'],
      ['workout session', '视频', 'a', 'sport-title-allow'], ['训练', '训练集视频', 'ah', HARD],
      ['跑步', '视频', 'a', OTHER],
    ],
    food: [
      ['打包', photos('项目 文件 素材 版本 安装包 构建 发布包'), 'a', 'food-workflow-suppressed'],
      ['打包', photos('项目小吃 构建小吃'), 'a', 'food-title-token-allow'],
      ['restaurant dining', photos('餐版本 饭版本 外卖版本 堂食版本 吃版本 美食版本'), 'a', 'food-title-token-allow'],
      ['restaurant dining', '视频', 'a', 'food-title-token-allow'],
      ['打包', '项目盒饭打包', 'a', 'food-title-token-allow'], ['打包', '项目打包盒饭', 'ah', HARD],
      ['外卖', '版本', 'a', OTHER],
    ],
    business: [
      ...['客户', 'client meeting'].map((by) => [by, '客户资料会议', 'ah', 'business-client-material-explicit-allow']),
      ['client meeting', '客户资料', 'ah', 'business-client-material-explicit-allow'],
      ['客户', '客户交付', 'ah', 'business-workflow-suppressed'],
      ['client meeting', photos(business), 'a', 'business-title-token-allow'], ['报价', '客户交付', 'ah', OTHER],
    ],
  };
  for (const [sceneKey, rows] of Object.entries(byScene)) {
    check(rows.flatMap(([by, titles, flags, reason]) => titles.split('|').map((raw) =>
      [{ raw, sceneKey, [/^[a-z]/.test(by) ? 'detail' : 'alias']: by }, flags, reason])));
  }
  const reading = { normalizedEnglish: 'kitchen files', sceneKey: 'home', detail: 'room reset' };
  check([[reading, 'ah', 'home-workflow-suppressed']]);
});
