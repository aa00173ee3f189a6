// SPDX-License-Identifier: Apache-2.0
export const bannerText = (channel) => `On now: ${channel.channelName}`;
