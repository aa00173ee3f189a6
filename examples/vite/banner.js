export const bannerText = (channel) => `On now: ${channel.channelName}`;
